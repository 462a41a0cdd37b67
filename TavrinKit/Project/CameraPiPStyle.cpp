#include "TavrinKit/Project/CameraPiPStyle.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

CameraPiPStyle CameraPiPStyle::normalized() const {
    CameraPiPStyle result = *this;
    result.widthFraction = clampedTo(widthFraction, 0.1, 0.45);
    result.marginFraction = clampedTo(marginFraction, 0.01, 0.2);
    result.cornerRadiusFraction = clampedTo(cornerRadiusFraction, 0, 0.5);
    result.shadowOpacity = clampedTo(shadowOpacity, 0, 1);
    result.borderOpacity = clampedTo(borderOpacity, 0, 1);
    result.borderWidth = clampedTo(borderWidth, 0, 10);
    result.focusReactionStrength = clampedTo(focusReactionStrength, 0, 1);
    return result;
}

void encode(Json& json, const CameraPiPStyle& value) {
    JsonObjectWriter(json)
        .put("enabled", value.enabled)
        .put("anchor", value.anchor)
        .put("widthFraction", value.widthFraction)
        .put("marginFraction", value.marginFraction)
        .put("cornerRadiusFraction", value.cornerRadiusFraction)
        .put("shadowOpacity", value.shadowOpacity)
        .put("borderOpacity", value.borderOpacity)
        .put("borderWidth", value.borderWidth)
        .put("shape", value.shape)
        .put("layoutMode", value.layoutMode)
        .put("focusReactionStrength", value.focusReactionStrength)
        .put("backgroundTreatment", value.backgroundTreatment);
}

void encode(Json& json, const CameraPiPTrack& value) {
    JsonObjectWriter(json).put("style", value.style);
}

void decode(const Json& json, CameraPiPStyle& value) {
    CameraPiPStyle style;
    const JsonObject object(json);
    object.tolerated("enabled", style.enabled);
    object.tolerated("anchor", style.anchor);
    object.tolerated("widthFraction", style.widthFraction);
    object.tolerated("marginFraction", style.marginFraction);
    object.tolerated("cornerRadiusFraction", style.cornerRadiusFraction);
    object.tolerated("shadowOpacity", style.shadowOpacity);
    object.tolerated("borderOpacity", style.borderOpacity);
    object.tolerated("borderWidth", style.borderWidth);
    object.tolerated("shape", style.shape);
    object.tolerated("layoutMode", style.layoutMode);
    object.tolerated("focusReactionStrength", style.focusReactionStrength);
    object.tolerated("backgroundTreatment", style.backgroundTreatment);
    value = style.normalized();
}

void decode(const Json& json, CameraPiPTrack& value) {
    JsonObject(json).required("style", value.style);
}

} // namespace tavrin
