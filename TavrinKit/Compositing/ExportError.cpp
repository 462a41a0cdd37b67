#include "TavrinKit/Compositing/ExportError.h"

namespace tavrin {

ExportError ExportError::unableToCreateSession(std::exception_ptr cause) {
    return {ExportErrorKind::unableToCreateSession, "Unable to create AVAssetExportSession.",
            std::move(cause)};
}

ExportError ExportError::exportFailed(std::exception_ptr cause) {
    return {ExportErrorKind::exportFailed, "MP4 export failed.", std::move(cause)};
}

ExportError ExportError::cancelled() {
    return {ExportErrorKind::cancelled, "MP4 export cancelled."};
}

ExportError ExportError::corruptedDuration(std::exception_ptr cause) {
    return {ExportErrorKind::corruptedDuration, "Export produced invalid duration.", std::move(cause)};
}

bool isCancelledExport(const std::exception_ptr& error) noexcept {
    if (!error) {
        return false;
    }
    try {
        std::rethrow_exception(error);
    } catch (const ExportError& failure) {
        return failure.kind() == ExportErrorKind::cancelled;
    } catch (const CancellationError&) {
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace tavrin
