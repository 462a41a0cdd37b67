#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "TavrinKit/Capture/CaptureDeviceCataloging.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Capture/LiveCursorStateMonitoring.h"
#include "TavrinKit/Capture/LiveInputEventMonitoring.h"

namespace tavrin {

/// Everything that a recording needs of the desktop that this process runs on: what `loadDesktopPlatform`
/// found. No member is empty.
struct DesktopPlatform {
    enum class Kind {
        x11,
        none, ///< nothing can be recorded: the backend and the monitors fail with the reason
    };

    Kind kind = Kind::none;
    std::string unavailableReason; ///< a sentence; empty unless `kind` is none

    std::shared_ptr<ScreenCaptureBackend> backend;
    std::function<std::unique_ptr<LiveInputEventMonitoring>()> makeInputMonitor;
    std::function<std::unique_ptr<LiveCursorStateMonitoring>()> makeCursorMonitor;

    SystemAudioStreamFactory systemAudioStreamFactory;
    MicrophoneCaptureFactory microphoneCaptureFactory;
    CameraCaptureFactory cameraCaptureFactory;
    std::shared_ptr<CameraPermissionProviding> cameraPermissions;
    std::shared_ptr<CaptureDeviceCataloging> microphones;
    std::shared_ptr<CaptureDeviceCataloging> cameras;

    /// For `DesktopStreamCapture`.
    [[nodiscard]] DesktopStreamCapture::Services captureServices() const;
};

/// What decides between the platforms. The defaults are what the process was started with.
struct DesktopPlatformSettings {
    /// Absent: the one that fits, or that TAVRIN_BACKEND names: "x11" or "none".
    std::optional<DesktopPlatform::Kind> kind{};
    std::optional<std::string> display{}; ///< of X, as in ":0"; absent: what DISPLAY says
    std::string pulseServer{};            ///< empty: the one that the user's environment names
    std::string microphone{};             ///< the id of the device; empty: the default
    /// Puts a synthetic camera behind the real ones, as TAVRIN_SYNTHETIC_CAMERA does: an id that begins with
    /// "lavfi:". Empty: there is none.
    std::string syntheticCameraID{};
};

/// Chooses the platform by the settings and the environment. Connects to nothing: a server that doesn't
/// answer shows when it is asked. Takes the environment as it is at the call.
/// @throws Error when TAVRIN_BACKEND has another value
[[nodiscard]] DesktopPlatform loadDesktopPlatform(const DesktopPlatformSettings& settings = {});

} // namespace tavrin
