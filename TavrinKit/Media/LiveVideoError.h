#pragma once

#include <string>
#include <string_view>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class LiveVideoErrorKind {
    busy,         ///< another program has it
    notPermitted, ///< this process may not open it
    unusable,     ///< it has gone, is no video device, or gives nothing that can be decoded
    silent,       ///< it is open but gives no picture
    disconnected, ///< it went away while it was read
};

/// A failure of a device that delivers pictures.
class LiveVideoError : public ErrorFamily<LiveVideoErrorKind> {
public:
    [[nodiscard]] static LiveVideoError busy(const std::string& device);
    [[nodiscard]] static LiveVideoError notPermitted(const std::string& device);
    /// @param reason  a clause without a full stop
    [[nodiscard]] static LiveVideoError unusable(const std::string& device, std::string_view reason);
    [[nodiscard]] static LiveVideoError silent(const std::string& device, double seconds);
    [[nodiscard]] static LiveVideoError disconnected(const std::string& device);

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
