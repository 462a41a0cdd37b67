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

} // namespace tavrin
