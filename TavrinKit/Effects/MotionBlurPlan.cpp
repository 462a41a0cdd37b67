#include "TavrinKit/Effects/MotionBlurPlan.h"

#include "TavrinKit/Effects/InlineVectorJson.h"

namespace tavrin {

void encode(Json& json, const MotionBlurPlan& value) {
    JsonObjectWriter(json)
        .put("intensity", value.intensity)
        .put("sampleCount", value.sampleCount)
        .put("temporalOffsets", value.temporalOffsets);
}

void decode(const Json& json, MotionBlurPlan& value) {
    const JsonObject object(json);
    object.required("intensity", value.intensity);
    object.required("sampleCount", value.sampleCount);
    object.required("temporalOffsets", value.temporalOffsets);
}

} // namespace tavrin
