#pragma once

#include <memory>
#include <stop_token>

#include "TavrinKit/Capture/ScreenStream.h"

namespace tavrin {

/// Says whether this process may record the screen. Any thread.
class ScreenCapturePermissionProviding {
public:
    virtual ~ScreenCapturePermissionProviding() = default;

    /// @throws CancellationError
    [[nodiscard]] virtual bool hasAccess(std::stop_token stop) = 0;

    /// Asks the user where that is possible and needed.
    /// @throws CancellationError
    [[nodiscard]] virtual bool requestAccessIfNeeded(std::stop_token stop) = 0;
};

/// Asks the display server itself: access is there when the server says so, or when its content can be
/// loaded.
class SystemScreenCapturePermissionProvider : public ScreenCapturePermissionProviding {
public:
    explicit SystemScreenCapturePermissionProvider(std::shared_ptr<ScreenCaptureBackend> backend);

    [[nodiscard]] bool hasAccess(std::stop_token stop) override;
    [[nodiscard]] bool requestAccessIfNeeded(std::stop_token stop) override;

private:
    const std::shared_ptr<ScreenCaptureBackend> backend_;
};

/// Says whether this process may use the microphone. Any thread.
class MicrophonePermissionProviding {
public:
    virtual ~MicrophonePermissionProviding() = default;

    /// @throws CancellationError
    [[nodiscard]] virtual bool requestAccessIfNeeded(std::stop_token stop) = 0;
};

/// Says whether this process may use cameras. Any thread.
class CameraPermissionProviding {
public:
    virtual ~CameraPermissionProviding() = default;

    /// @throws CancellationError
    [[nodiscard]] virtual bool requestAccessIfNeeded(std::stop_token stop) = 0;
};

} // namespace tavrin
