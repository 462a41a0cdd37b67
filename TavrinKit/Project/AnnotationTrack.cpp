#include "TavrinKit/Project/AnnotationTrack.h"

#include <algorithm>
#include <tuple>

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TrackOrder.h"
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
    AnnotationRegion result = *this;
    normalizeTimes(result);
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
    sortBy(result.regions, [](const AnnotationRegion& region) {
        return std::tuple(region.zIndex, placeOf(region.startTime), region.id);
    });
    return result;
}

} // namespace tavrin
