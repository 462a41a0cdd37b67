#include "TavrinKit/Readiness/DiagnosticEntry.h"

namespace tavrin {

void encode(Json& json, const DiagnosticEntry& value) {
    JsonObjectWriter(json)
        .put("timestamp", value.timestamp)
        .put("level", value.level)
        .put("category", value.category)
        .put("message", value.message);
    json["metadata"] = value.metadata;
}

void decode(const Json& json, DiagnosticEntry& value) {
    const JsonObject object(json);
    object.required("timestamp", value.timestamp);
    object.required("level", value.level);
    object.required("category", value.category);
    object.required("message", value.message);
    value.metadata = requiredMetadata(object);
}

} // namespace tavrin
