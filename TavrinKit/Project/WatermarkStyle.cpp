#include "TavrinKit/Project/WatermarkStyle.h"

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {

WatermarkStyle WatermarkStyle::normalized() const {
    WatermarkStyle result = *this;
    result.text = trimmed(text);
    if (imagePath) {
        result.imagePath = trimmed(*imagePath);
    }
    result.opacity = clampedTo(opacity, 0, 1);
    result.widthFraction = clampedTo(widthFraction, 0.08, 0.5);
    result.marginFraction = clampedTo(marginFraction, 0, 0.2);
    return result;
}

void encode(Json& json, const WatermarkStyle& value) {
    JsonObjectWriter(json)
        .put("enabled", value.enabled)
        .put("kind", value.kind)
        .put("text", value.text)
        .put("imagePath", value.imagePath)
        .put("opacity", value.opacity)
        .put("widthFraction", value.widthFraction)
        .put("marginFraction", value.marginFraction)
        .put("anchor", value.anchor)
        .put("shadowEnabled", value.shadowEnabled);
}

void encode(Json& json, const WatermarkTrack& value) {
    JsonObjectWriter(json).put("style", value.style);
}

void decode(const Json& json, WatermarkStyle& value) {
    const JsonObject object(json);
    object.required("enabled", value.enabled);
    object.required("kind", value.kind);
    object.required("text", value.text);
    object.tolerated("imagePath", value.imagePath);
    object.required("opacity", value.opacity);
    object.required("widthFraction", value.widthFraction);
    object.required("marginFraction", value.marginFraction);
    object.required("anchor", value.anchor);
    object.required("shadowEnabled", value.shadowEnabled);
}

void decode(const Json& json, WatermarkTrack& value) {
    JsonObject(json).required("style", value.style);
}

} // namespace tavrin
