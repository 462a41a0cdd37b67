#include "TavrinKit/Project/TypingStyle.h"

#include <algorithm>

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

TypingStyle TypingStyle::normalized() const {
    TypingStyle result = *this;
    result.burstGapSeconds = clampedTo(burstGapSeconds, 0.08, 1.2);
    result.holdDurationSeconds = clampedTo(holdDurationSeconds, 0.1, 3);
    result.fadeDurationSeconds = clampedTo(fadeDurationSeconds, 0.08, 1.4);
    result.keyPopDurationSeconds = clampedTo(keyPopDurationSeconds, 0.08, 0.7);
    result.maxVisibleChips = std::clamp<std::int64_t>(maxVisibleChips, 1, 16);
    return result;
}

void encode(Json& json, const TypingStyle& value) {
    JsonObjectWriter(json)
        .put("enabled", value.enabled)
        .put("burstGapSeconds", value.burstGapSeconds)
        .put("holdDurationSeconds", value.holdDurationSeconds)
        .put("fadeDurationSeconds", value.fadeDurationSeconds)
        .put("keyPopDurationSeconds", value.keyPopDurationSeconds)
        .put("maxVisibleChips", value.maxVisibleChips);
}

void encode(Json& json, const TypingTrack& value) {
    JsonObjectWriter(json).put("style", value.style);
}

void decode(const Json& json, TypingStyle& value) {
    TypingStyle style;
    const JsonObject object(json);
    object.tolerated("enabled", style.enabled);
    object.tolerated("burstGapSeconds", style.burstGapSeconds);
    object.tolerated("holdDurationSeconds", style.holdDurationSeconds);
    object.tolerated("fadeDurationSeconds", style.fadeDurationSeconds);
    object.tolerated("keyPopDurationSeconds", style.keyPopDurationSeconds);
    object.tolerated("maxVisibleChips", style.maxVisibleChips);
    value = style.normalized();
}

void decode(const Json& json, TypingTrack& value) {
    JsonObject(json).required("style", value.style);
}

} // namespace tavrin
