#include "TavrinKit/Readiness/Metadata.h"

namespace tavrin {

Metadata requiredMetadata(const JsonObject& object) {
    constexpr const char* key = "metadata";
    const Json* found = object.find(key);
    if (found == nullptr) {
        throw JsonError(JsonErrorKind::missingKey, "The key is missing.", key);
    }
    if (!found->is_object()) {
        throw JsonError(JsonErrorKind::typeMismatch, "Expected an object.", key);
    }
    Metadata metadata;
    for (const auto& [name, value] : found->items()) {
        try {
            decode(value, metadata[name]);
        } catch (const JsonError& error) {
            rethrowBelow(error, key);
        }
    }
    return metadata;
}

} // namespace tavrin
