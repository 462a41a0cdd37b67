#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class CameraCaptureErrorKind {
    recordingStartFailed,
    recordingFailed,
    alreadyStarted,
    notStarted,
    permissionDenied,
    deviceUnavailable,
    unableToAddInput,
    unableToAddOutput,
    outputMissing,
};

class CameraCaptureError : public ErrorFamily<CameraCaptureErrorKind> {
public:
    [[nodiscard]] static CameraCaptureError recordingStartFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static CameraCaptureError recordingFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static CameraCaptureError alreadyStarted();
    [[nodiscard]] static CameraCaptureError notStarted();
    [[nodiscard]] static CameraCaptureError permissionDenied();
    [[nodiscard]] static CameraCaptureError deviceUnavailable();
    [[nodiscard]] static CameraCaptureError unableToAddInput();
    [[nodiscard]] static CameraCaptureError unableToAddOutput();
    [[nodiscard]] static CameraCaptureError outputMissing();

private:
    using ErrorFamily::ErrorFamily;
};

/// Records a camera to a file of its own. Calls may come from any thread, `cancel` also while another call
/// waits.
class CameraCapturing {
public:
    virtual ~CameraCapturing() = default;

    /// Returns once recording has really begun.
    /// @throws CameraCaptureError, Error of the platform, CancellationError
    virtual void start(const CameraCaptureOptions& options, std::stop_token stop) = 0;

    /// Where the file's time 0 lies; pictures from before are left out. Called once, soon after `start`;
    /// without a call the file begins with the first picture.
    /// @param hostTime  host clock
    virtual void setTimeZero([[maybe_unused]] double hostTime) {}

    /// Where the file ends; pictures from after that are left out. Called before `stop`; without a call the
    /// file lasts until then.
    /// @param hostTime  host clock
    virtual void setEnd([[maybe_unused]] double hostTime) {}

    /// @throws CameraCaptureError, Error of the platform, CancellationError
    [[nodiscard]] virtual CameraCaptureTrackResult stop(std::stop_token stop) = 0;

    /// What went wrong since the start without ending the recording, as in "camera_disconnected".
    [[nodiscard]] virtual std::vector<std::string> warnings() const { return {}; }

    /// Stops without waiting for long and removes the file. Harmless when nothing runs.
    virtual void cancel() noexcept = 0;
};

/// Makes a capture that writes to the given file.
using CameraCaptureFactory =
    std::function<std::shared_ptr<CameraCapturing>(const std::filesystem::path& outputURL)>;

} // namespace tavrin
