#include "TavrinKit/Project/AnnotationTrack.h"

#include <algorithm>

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {

AnnotationStyle AnnotationStyle::normalized() const {
    AnnotationStyle result = *this;
    result.fontSize = clampedTo(fontSize, 12, 96);
    result.borderRadius = clampedTo(borderRadius, 0, 48);
    result.strokeWidth = clampedTo(strokeWidth, 1, 18);
    result.shadowOpacity = clampedTo(shadowOpacity, 0, 1);
    return result;
}

AnnotationRegion AnnotationRegion::normalized() const {
    const ClipTimeRange range = ClipTimeRange{startTime, endTime}.normalized();
    AnnotationRegion result = *this;
    result.startTime = range.startTime;
    result.endTime = range.endTime;
    if (imagePath) {
        result.imagePath = trimmed(*imagePath);
        if (result.imagePath->empty()) {
            result.imagePath.reset();
        }
    }
    result.position.x = clampedTo(finiteOr(position.x, 0.35), 0, 0.95);
    result.position.y = clampedTo(finiteOr(position.y, 0.35), 0, 0.95);
    result.size.width = clampedTo(finiteOr(size.width, 0.3), 0.05, 1);
    result.size.height = clampedTo(finiteOr(size.height, 0.2), 0.05, 1);
    result.zIndex = std::max<std::int64_t>(zIndex, 0);
    return result;
}

AnnotationTrack AnnotationTrack::normalized() const {
    AnnotationTrack result = *this;
    std::ranges::stable_sort(result.regions, [](const AnnotationRegion& a, const AnnotationRegion& b) {
        if (a.zIndex != b.zIndex) {
            return a.zIndex < b.zIndex;
        }
        return a.startTime != b.startTime ? a.startTime < b.startTime : a.id < b.id;
    });
    return result;
}

void encode(Json& json, const AnnotationStyle& value) {
    JsonObjectWriter(json)
        .put("textColorHex", value.textColorHex)
        .put("fillColorHex", value.fillColorHex)
        .put("strokeColorHex", value.strokeColorHex)
        .put("fontSize", value.fontSize)
        .put("fontWeight", value.fontWeight)
        .put("textAlignment", value.textAlignment)
        .put("borderRadius", value.borderRadius)
        .put("strokeWidth", value.strokeWidth)
        .put("shadowOpacity", value.shadowOpacity);
}

void encode(Json& json, const AnnotationFigureData& value) {
    JsonObjectWriter(json).put("shape", value.shape).put("direction", value.direction);
}

void encode(Json& json, const AnnotationRegion& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("startTime", value.startTime)
        .put("endTime", value.endTime)
        .put("type", value.type)
        .put("content", value.content)
        .put("imagePath", value.imagePath)
        .put("position", value.position)
        .put("size", value.size)
        .put("style", value.style)
        .put("zIndex", value.zIndex)
        .put("figure", value.figure);
}

void encode(Json& json, const AnnotationTrack& value) {
    JsonObjectWriter(json).put("regions", value.regions);
}

void decode(const Json& json, AnnotationStyle& value) {
    const JsonObject object(json);
    object.required("textColorHex", value.textColorHex);
    object.required("fillColorHex", value.fillColorHex);
    object.required("strokeColorHex", value.strokeColorHex);
    object.required("fontSize", value.fontSize);
    object.required("fontWeight", value.fontWeight);
    object.required("textAlignment", value.textAlignment);
    object.required("borderRadius", value.borderRadius);
    object.required("strokeWidth", value.strokeWidth);
    object.required("shadowOpacity", value.shadowOpacity);
}

void decode(const Json& json, AnnotationFigureData& value) {
    const JsonObject object(json);
    object.required("shape", value.shape);
    object.required("direction", value.direction);
}

void decode(const Json& json, AnnotationRegion& value) {
    const JsonObject object(json);
    object.required("id", value.id);
    object.required("startTime", value.startTime);
    object.required("endTime", value.endTime);
    object.required("type", value.type);
    object.required("content", value.content);
    object.tolerated("imagePath", value.imagePath);
    object.required("position", value.position);
    object.required("size", value.size);
    object.required("style", value.style);
    object.required("zIndex", value.zIndex);
    object.tolerated("figure", value.figure);
}

void decode(const Json& json, AnnotationTrack& value) {
    JsonObject(json).required("regions", value.regions);
}

} // namespace tavrin
