#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "TavrinKit/Capture/CameraCapturing.h"
#include "TavrinKit/Capture/CaptureDeviceCataloging.h"
#include "TavrinKit/Capture/CapturePermissions.h"
#include "TavrinKit/Platform/V4L2/CameraRecording.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Says yes unless there are cameras and the system lets this user open none of them. There is nobody to ask.
class SystemCameraPermissionProvider : public CameraPermissionProviding {
public:
    /// @param hasSyntheticCamera  there is one beside them, for which nobody needs a permission
    /// @param folder              where the devices lie
    explicit SystemCameraPermissionProvider(bool hasSyntheticCamera = false,
                                            std::filesystem::path folder = "/dev");

    [[nodiscard]] bool requestAccessIfNeeded(std::stop_token stop) override;

private:
    const bool hasSyntheticCamera_;
    const std::filesystem::path folder_;
};

/// The device with the preferred id, else the first one; a preferred device that has gone is no error.
[[nodiscard]] std::optional<CaptureDevice>
resolveCameraDevice(const std::vector<CaptureDevice>& devices,
                    const std::optional<std::string>& preferredDeviceID);

/// Records a camera of the kernel, or one that the machine makes up, to a QuickTime movie in H.264.
///
/// The camera runs in the mode that `bestCameraMode` chooses; the movie has the times at which the kernel
/// took the pictures. A camera that goes away in mid-take, or delivers nothing for some seconds, ends the
/// movie and leaves the warning "camera_disconnected"; a disk that fails leaves what was written and the
/// warning "camera_write_failed:" with the reason.
class V4L2CameraCapture : public CameraCapturing {
public:
    struct Settings {
        std::shared_ptr<CaptureDeviceCataloging> devices{}; ///< null: the kernel's cameras
        /// Null: the system is asked.
        std::shared_ptr<CameraPermissionProviding> permissionProvider{};
        double startPatience = 6; ///< seconds until a camera must have delivered its first picture
    };

    explicit V4L2CameraCapture(std::filesystem::path outputURL);
    V4L2CameraCapture(std::filesystem::path outputURL, Settings settings);
    ~V4L2CameraCapture() override; ///< as `cancel` when it runs

    void start(const CameraCaptureOptions& options, std::stop_token stop) override;
    void setTimeZero(double hostTime) override;
    void setEnd(double hostTime) override;
    [[nodiscard]] CameraCaptureTrackResult stop(std::stop_token stop) override;
    [[nodiscard]] std::vector<std::string> warnings() const override;
    void cancel() noexcept override;

private:
    using Recording = std::shared_ptr<CameraRecording>;

    struct State {
        std::stop_source starting; ///< of the start under way
        bool hasStarted = false;   ///< or is about to
        Recording recording;
        std::optional<double> end; ///< host clock, when it was set
        std::vector<std::string> lastWarnings;
    };

    [[nodiscard]] Recording startRecording(const CameraCaptureOptions& options, const std::stop_token& stop);
    void discard(const Recording& recording) const noexcept;

    const std::filesystem::path outputURL_;
    const Settings settings_;
    Guarded<State> state_;
};

} // namespace tavrin
