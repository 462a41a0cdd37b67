#include "TavrinKit/Capture/DesktopCaptureBridge.h"

#include <chrono>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Support/Race.h"

namespace tavrin {

DesktopCaptureBridgeError DesktopCaptureBridgeError::timedOut(const std::string& operation,
                                                              double timeoutSeconds) {
    return {DesktopCaptureBridgeErrorKind::timedOut,
            fmt::format("{} timed out after {:.1f} seconds.", operation, timeoutSeconds)};
}

DesktopCaptureBridge::DesktopCaptureBridge(std::shared_ptr<ScreenCaptureBackend> backend)
    : backend_(std::move(backend)) {}

ShareableContent DesktopCaptureBridge::shareableContent(const ContentRequest& request,
                                                        const std::stop_token& stop) const {
    const std::chrono::duration<double> timeout(request.timeoutSeconds);
    std::optional<ShareableContent> content = raceAgainstTimer(
        std::chrono::duration_cast<std::chrono::nanoseconds>(timeout), stop,
        [backend = backend_, request](const std::stop_token&) {
            return backend->shareableContent(request.excludingDesktopWindows, request.onScreenWindowsOnly);
        });
    if (!content) {
        throw DesktopCaptureBridgeError::timedOut("Loading shareable capture content",
                                                  request.timeoutSeconds);
    }
    return std::move(*content);
}

} // namespace tavrin
