#include "TavrinKit/Project/ClipTimeRange.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

ClipTimeRange ClipTimeRange::normalized() const {
    const double start = atLeast(finiteOr(startTime, 0), 0);
    return {start, atLeast(finiteOr(endTime, start), start)};
}

void encode(Json& json, const ClipTimeRange& value) {
    JsonObjectWriter(json).put("startTime", value.startTime).put("endTime", value.endTime);
}

void decode(const Json& json, ClipTimeRange& value) {
    const JsonObject object(json);
    object.required("startTime", value.startTime);
    object.required("endTime", value.endTime);
}

} // namespace tavrin
