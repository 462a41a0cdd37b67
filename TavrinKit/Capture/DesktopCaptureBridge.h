#pragma once

#include <memory>
#include <stop_token>
#include <string>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class DesktopCaptureBridgeErrorKind { timedOut };

class DesktopCaptureBridgeError : public ErrorFamily<DesktopCaptureBridgeErrorKind> {
public:
    [[nodiscard]] static DesktopCaptureBridgeError timedOut(const std::string& operation,
                                                            double timeoutSeconds);

private:
    using ErrorFamily::ErrorFamily;
};

/// Puts a bound on the calls to a display server that may hang. Any thread.
class DesktopCaptureBridge {
public:
    struct ContentRequest {
        bool excludingDesktopWindows = true;
        bool onScreenWindowsOnly = true;
        double timeoutSeconds = 5.0;
    };

    explicit DesktopCaptureBridge(std::shared_ptr<ScreenCaptureBackend> backend);

    /// @throws DesktopCaptureBridgeError, Error of the platform, CancellationError
    [[nodiscard]] ShareableContent shareableContent(const ContentRequest& request,
                                                    const std::stop_token& stop) const;

private:
    std::shared_ptr<ScreenCaptureBackend> backend_;
};

} // namespace tavrin
