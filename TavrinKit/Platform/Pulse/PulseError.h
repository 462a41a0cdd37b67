#pragma once

#include <string>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class PulseErrorKind {
    serverUnavailable, ///< there is none, or it refuses us
    requestFailed,     ///< it went away, or didn't do what was asked
};

class PulseError : public ErrorFamily<PulseErrorKind> {
public:
    /// @param reason  in the server's words
    [[nodiscard]] static PulseError serverUnavailable(const std::string& reason);
    [[nodiscard]] static PulseError requestFailed(const std::string& request, const std::string& reason);

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
