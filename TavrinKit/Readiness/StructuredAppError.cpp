#include "TavrinKit/Readiness/StructuredAppError.h"

#include <utility>

namespace tavrin {

StructuredAppError::StructuredAppError(AppErrorCode code, std::string technicalMessage, Metadata metadata)
    : ErrorFamily(code, std::string(userFacingMessage(code))), technicalMessage_(std::move(technicalMessage)),
      metadata_(std::move(metadata)) {}

} // namespace tavrin

std::size_t
std::hash<tavrin::StructuredAppError>::operator()(const tavrin::StructuredAppError& error) const noexcept {
    std::size_t seed = std::size_t(error.code());
    const auto mix = [&seed](const std::string& text) {
        seed = seed * 31 + std::hash<std::string>()(text);
    };
    mix(error.technicalMessage());
    for (const auto& [key, value] : error.metadata()) {
        mix(key);
        mix(value);
    }
    return seed;
}
