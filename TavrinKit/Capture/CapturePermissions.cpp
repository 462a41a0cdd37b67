#include "TavrinKit/Capture/CapturePermissions.h"

#include <exception>
#include <utility>

#include "TavrinKit/Capture/DesktopCaptureBridge.h"
#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {

SystemScreenCapturePermissionProvider::SystemScreenCapturePermissionProvider(
    std::shared_ptr<ScreenCaptureBackend> backend)
    : backend_(std::move(backend)) {}

bool SystemScreenCapturePermissionProvider::hasAccess(std::stop_token stop) {
    if (backend_->preflightAccess()) {
        return true;
    }
    try {
        static_cast<void>(DesktopCaptureBridge(backend_).shareableContent({}, stop));
        return true;
    } catch (const CancellationError&) {
        throw;
    } catch (...) {
        logRecoverableFailure("TavrinKit.SystemScreenCapturePermissionProvider", "hasAccess.probe",
                              std::current_exception());
        return false;
    }
}

bool SystemScreenCapturePermissionProvider::requestAccessIfNeeded(std::stop_token stop) {
    return hasAccess(stop) || (backend_->requestAccess() && hasAccess(stop));
}

} // namespace tavrin
