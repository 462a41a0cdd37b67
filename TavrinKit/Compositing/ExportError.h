#pragma once

#include <exception>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class ExportErrorKind {
    unableToCreateSession, ///< the encoder or the file takes none of these settings
    exportFailed,
    cancelled,
    corruptedDuration, ///< a movie was written, but its length makes no sense
};

/// How an export ends that gives no movie. What lies behind it is in `underlying()`.
class ExportError : public ErrorFamily<ExportErrorKind> {
public:
    [[nodiscard]] static ExportError unableToCreateSession(std::exception_ptr cause = nullptr);
    [[nodiscard]] static ExportError exportFailed(std::exception_ptr cause = nullptr);
    [[nodiscard]] static ExportError cancelled();
    [[nodiscard]] static ExportError corruptedDuration(std::exception_ptr cause = nullptr);

private:
    using ErrorFamily::ErrorFamily;
};

/// True for the two errors in which a cancelled export may end: ExportError (cancelled), CancellationError.
[[nodiscard]] bool isCancelledExport(const std::exception_ptr& error) noexcept;

/// Runs what makes a movie so that everything but an ExportError arrives as the cause of one; a cancelled
/// wait as `cancelled`.
template <typename Work>
auto withExportErrors(Work work) {
    try {
        return work();
    } catch (const ExportError&) {
        throw;
    } catch (const CancellationError&) {
        throw ExportError::cancelled();
    } catch (...) {
        throw ExportError::exportFailed(std::current_exception());
    }
}

} // namespace tavrin
