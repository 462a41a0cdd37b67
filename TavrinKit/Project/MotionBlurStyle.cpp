#include "TavrinKit/Project/MotionBlurStyle.h"

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TavrinConstants.h"

namespace tavrin {

MotionBlurStyle MotionBlurStyle::normalized() const {
    return {clampedTo(intensity, TavrinConstants::minimumMotionBlurIntensity,
                      TavrinConstants::maximumMotionBlurIntensity)};
}

void encode(Json& json, const MotionBlurStyle& value) {
    JsonObjectWriter(json).put("intensity", value.intensity);
}

void decode(const Json& json, MotionBlurStyle& value) {
    JsonObject(json).required("intensity", value.intensity);
}

} // namespace tavrin
