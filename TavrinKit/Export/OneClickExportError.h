#pragma once

#include <string>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class OneClickExportErrorKind {
    unsupportedPreset, ///< the machine can't do what the preset asks for, and nothing may be given up
};

/// An export that was refused before it touched a file.
class OneClickExportError : public ErrorFamily<OneClickExportErrorKind> {
public:
    /// @param reason  a sentence for the user
    [[nodiscard]] static OneClickExportError unsupportedPreset(const std::string& reason);

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
