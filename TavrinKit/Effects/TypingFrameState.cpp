#include "TavrinKit/Effects/TypingFrameState.h"

namespace tavrin {

void encode(Json& json, const TypingChipState& value) {
    JsonObjectWriter(json).put("text", value.text).put("role", value.role).put("emphasis", value.emphasis);
}

void encode(Json& json, const TypingFrameState& value) {
    JsonObjectWriter(json)
        .put("visible", value.visible)
        .put("opacity", value.opacity)
        .put("chips", value.chips)
        .put("isShortcut", value.isShortcut);
}

void decode(const Json& json, TypingChipState& value) {
    const JsonObject object(json);
    object.required("text", value.text);
    object.required("role", value.role);
    object.required("emphasis", value.emphasis);
}

void decode(const Json& json, TypingFrameState& value) {
    const JsonObject object(json);
    object.required("visible", value.visible);
    object.required("opacity", value.opacity);
    object.required("chips", value.chips);
    object.required("isShortcut", value.isShortcut);
}

} // namespace tavrin
