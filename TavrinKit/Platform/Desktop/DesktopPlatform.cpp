#include "TavrinKit/Platform/Desktop/DesktopPlatform.h"

#include <cstdlib>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Platform/Desktop/NullCaptureBackend.h"
#include "TavrinKit/Platform/Pulse/PulseMicrophoneCapture.h"
#include "TavrinKit/Platform/Pulse/PulseMicrophoneCatalog.h"
#include "TavrinKit/Platform/Pulse/PulseSystemAudioStream.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCapture.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCatalog.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11LiveCursorStateMonitor.h"
#include "TavrinKit/Platform/X11/X11LiveInputEventMonitor.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin {
namespace {

/// Empty when it isn't set.
std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::optional<DesktopPlatform::Kind> wantedKind(const DesktopPlatformSettings& settings) {
    if (settings.kind) {
        return settings.kind;
    }
    const std::string name = environment("TAVRIN_BACKEND");
    if (name.empty()) {
        return std::nullopt;
    }
    if (name == "x11") {
        return DesktopPlatform::Kind::x11;
    }
    if (name == "none") {
        return DesktopPlatform::Kind::none;
    }
    throw Error(fmt::format("TAVRIN_BACKEND is \"{}\"; it can be \"x11\" or \"none\".", name));
}

void useX11(DesktopPlatform& platform, const std::string& display) {
    platform.kind = DesktopPlatform::Kind::x11;
    platform.backend = std::make_shared<X11CaptureBackend>(display);
    platform.makeInputMonitor = [display] {
        return std::make_unique<X11LiveInputEventMonitor>(
            X11LiveInputEventMonitor::Settings{.displayName = display});
    };
    platform.makeCursorMonitor = [display] {
        return std::make_unique<X11LiveCursorStateMonitor>(
            X11LiveCursorStateMonitor::Settings{.displayName = display});
    };
}

void useNothing(DesktopPlatform& platform, const std::string& reason) {
    platform.kind = DesktopPlatform::Kind::none;
    platform.unavailableReason = reason;
    platform.backend = std::make_shared<NullCaptureBackend>(reason);
    platform.makeInputMonitor = [reason] {
        return std::make_unique<NullLiveInputEventMonitor>(reason);
    };
    platform.makeCursorMonitor = [reason] {
        return std::make_unique<NullLiveCursorStateMonitor>(reason);
    };
}

void chooseDesktop(DesktopPlatform& platform, const DesktopPlatformSettings& settings) {
    const auto kind = wantedKind(settings);
    const std::string display = settings.display.value_or(environment("DISPLAY"));
    if (kind == DesktopPlatform::Kind::none) {
        useNothing(platform, "Recording the screen was switched off.");
    } else if (kind == DesktopPlatform::Kind::x11 || !display.empty()) {
        useX11(platform, display);
    } else if (!environment("WAYLAND_DISPLAY").empty()) {
        useNothing(platform,
                   "This is a Wayland session without an X server; only X displays can be recorded. "
                   "Log in to an X session and try again.");
    } else {
        useNothing(platform, "There is no display to record: DISPLAY is not set.");
    }
}

void chooseDevices(DesktopPlatform& platform, const DesktopPlatformSettings& settings) {
    platform.systemAudioStreamFactory = PulseSystemAudioStream::factory(settings.pulseServer);
    platform.microphones = std::make_shared<PulseMicrophoneCatalog>(settings.pulseServer);
    platform.microphoneCaptureFactory =
        PulseMicrophoneCapture::factory({.server = settings.pulseServer, .source = settings.microphone});

    std::string synthetic = settings.syntheticCameraID;
    if (synthetic.empty()) {
        synthetic = environment("TAVRIN_SYNTHETIC_CAMERA");
    }
    if (!synthetic.empty() && !synthetic.starts_with(V4L2CameraCatalog::syntheticPrefix)) {
        synthetic = V4L2CameraCatalog::testPictureID;
    }
    platform.cameras = std::make_shared<V4L2CameraCatalog>("/dev", synthetic);
    platform.cameraPermissions = std::make_shared<SystemCameraPermissionProvider>(!synthetic.empty());
    const V4L2CameraCapture::Settings camera{.devices = platform.cameras,
                                             .permissionProvider = platform.cameraPermissions};
    platform.cameraCaptureFactory = [camera](const std::filesystem::path& path) {
        return std::make_shared<V4L2CameraCapture>(path, camera);
    };
}

} // namespace

DesktopStreamCapture::Services DesktopPlatform::captureServices() const {
    DesktopStreamCapture::Services services;
    services.backend = backend;
    services.systemAudioStreamFactory = systemAudioStreamFactory;
    services.microphoneCaptureFactory = microphoneCaptureFactory;
    services.cameraCaptureFactory = cameraCaptureFactory;
    services.cameraPermissions = cameraPermissions;
    return services;
}

DesktopPlatform loadDesktopPlatform(const DesktopPlatformSettings& settings) {
    DesktopPlatform platform;
    chooseDesktop(platform, settings);
    chooseDevices(platform, settings);
    return platform;
}

} // namespace tavrin
