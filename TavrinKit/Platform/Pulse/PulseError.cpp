#include "TavrinKit/Platform/Pulse/PulseError.h"

#include <fmt/format.h>

namespace tavrin {

PulseError PulseError::serverUnavailable(const std::string& reason) {
    return {PulseErrorKind::serverUnavailable,
            fmt::format("The sound server can't be reached ({}). Start PulseAudio or PipeWire and retry.",
                        reason)};
}

PulseError PulseError::requestFailed(const std::string& request, const std::string& reason) {
    return {PulseErrorKind::requestFailed,
            fmt::format("The sound server failed at {} ({}). Restart it and retry.", request, reason)};
}

} // namespace tavrin
