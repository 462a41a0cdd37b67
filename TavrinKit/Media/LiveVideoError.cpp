#include "TavrinKit/Media/LiveVideoError.h"

#include <fmt/format.h>

namespace tavrin {

LiveVideoError LiveVideoError::busy(const std::string& device) {
    return {LiveVideoErrorKind::busy, fmt::format("The camera {} is in use by another program.", device)};
}

LiveVideoError LiveVideoError::notPermitted(const std::string& device) {
    return {LiveVideoErrorKind::notPermitted,
            fmt::format("The camera {} may not be opened by this user.", device)};
}

LiveVideoError LiveVideoError::unusable(const std::string& device, std::string_view reason) {
    return {LiveVideoErrorKind::unusable, fmt::format("The camera {} can't be used: {}.", device, reason)};
}

LiveVideoError LiveVideoError::silent(const std::string& device, double seconds) {
    return {LiveVideoErrorKind::silent,
            fmt::format("The camera {} has delivered no picture for {:.1f} seconds.", device, seconds)};
}

LiveVideoError LiveVideoError::disconnected(const std::string& device) {
    return {LiveVideoErrorKind::disconnected, fmt::format("The camera {} was disconnected.", device)};
}

} // namespace tavrin
