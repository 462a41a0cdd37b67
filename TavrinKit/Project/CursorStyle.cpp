#include "TavrinKit/Project/CursorStyle.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

double alpha(CursorSmoothingPreset preset) {
    switch (preset) {
    case CursorSmoothingPreset::off:
        return 1;
    case CursorSmoothingPreset::low:
        return 0.55;
    case CursorSmoothingPreset::medium:
        return 0.35;
    case CursorSmoothingPreset::high:
        return 0.2;
    }
    return 1;
}

CursorStyle CursorStyle::normalized() const {
    CursorStyle result = *this;
    result.sizeMultiplier = clampedTo(sizeMultiplier, 1, 2.5);
    result.idleHideAfterSeconds = atLeast(idleHideAfterSeconds, 0.2);
    result.shakeReduction = clampedTo(shakeReduction, 0, 1);
    result.glyphStabilizationSeconds = clampedTo(glyphStabilizationSeconds, 0, 1.2);
    result.endLoopDurationSeconds = clampedTo(endLoopDurationSeconds, 0.12, 1.2);
    result.clickHighlightDurationSeconds = clampedTo(clickHighlightDurationSeconds, 0.08, 1.2);
    result.clickHighlightIntensity = clampedTo(clickHighlightIntensity, 0, 1);
    result.trailLengthSeconds = clampedTo(trailLengthSeconds, 0, 1.2);
    result.trailIntensity = clampedTo(trailIntensity, 0, 1);
    result.idleFadeDurationSeconds = clampedTo(idleFadeDurationSeconds, 0.05, 1);
    return result;
}

void encode(Json& json, const CursorStyle& value) {
    JsonObjectWriter(json)
        .put("sizeMultiplier", value.sizeMultiplier)
        .put("smoothing", value.smoothing)
        .put("hideWhenIdle", value.hideWhenIdle)
        .put("clickHighlightStyle", value.clickHighlightStyle)
        .put("idleHideAfterSeconds", value.idleHideAfterSeconds)
        .put("bodyStyle", value.bodyStyle)
        .put("shakeReduction", value.shakeReduction)
        .put("glyphStabilizationSeconds", value.glyphStabilizationSeconds)
        .put("endBehavior", value.endBehavior)
        .put("endLoopDurationSeconds", value.endLoopDurationSeconds)
        .put("hideDuringZoomSegments", value.hideDuringZoomSegments)
        .put("glyphSelectionMode", value.glyphSelectionMode)
        .put("selectedGlyph", value.selectedGlyph)
        .put("clickHighlightDurationSeconds", value.clickHighlightDurationSeconds)
        .put("clickHighlightIntensity", value.clickHighlightIntensity)
        .put("trailStyle", value.trailStyle)
        .put("trailLengthSeconds", value.trailLengthSeconds)
        .put("trailIntensity", value.trailIntensity)
        .put("idleFadeDurationSeconds", value.idleFadeDurationSeconds);
}

void encode(Json& json, const CursorTrack& value) {
    JsonObjectWriter(json).put("style", value.style);
}

void decode(const Json& json, CursorStyle& value) {
    CursorStyle style;
    const JsonObject object(json);
    object.tolerated("sizeMultiplier", style.sizeMultiplier);
    object.tolerated("smoothing", style.smoothing);
    object.tolerated("hideWhenIdle", style.hideWhenIdle);
    object.tolerated("clickHighlightStyle", style.clickHighlightStyle);
    object.tolerated("idleHideAfterSeconds", style.idleHideAfterSeconds);
    object.tolerated("bodyStyle", style.bodyStyle);
    object.tolerated("shakeReduction", style.shakeReduction);
    object.tolerated("glyphStabilizationSeconds", style.glyphStabilizationSeconds);
    object.tolerated("endBehavior", style.endBehavior);
    object.tolerated("endLoopDurationSeconds", style.endLoopDurationSeconds);
    object.tolerated("hideDuringZoomSegments", style.hideDuringZoomSegments);
    object.tolerated("glyphSelectionMode", style.glyphSelectionMode);
    object.tolerated("selectedGlyph", style.selectedGlyph);
    object.tolerated("clickHighlightDurationSeconds", style.clickHighlightDurationSeconds);
    object.tolerated("clickHighlightIntensity", style.clickHighlightIntensity);
    object.tolerated("trailStyle", style.trailStyle);
    object.tolerated("trailLengthSeconds", style.trailLengthSeconds);
    object.tolerated("trailIntensity", style.trailIntensity);
    object.tolerated("idleFadeDurationSeconds", style.idleFadeDurationSeconds);
    value = style.normalized();
}

void decode(const Json& json, CursorTrack& value) {
    JsonObject(json).required("style", value.style);
}

} // namespace tavrin
