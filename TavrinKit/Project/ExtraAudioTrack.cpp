#include "TavrinKit/Project/ExtraAudioTrack.h"

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TrackOrder.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {

ExtraAudioRegion ExtraAudioRegion::normalized() const {
    const ClipTimeRange range = ClipTimeRange{startTime, endTime}.normalized();
    ExtraAudioRegion result = *this;
    result.startTime = range.startTime;
    result.endTime = range.endTime;
    result.filePath = trimmed(filePath);
    result.volume = clampedTo(finiteOr(volume, 1), 0, 2);
    return result;
}

ExtraAudioTrack ExtraAudioTrack::normalized() const {
    ExtraAudioTrack result = *this;
    sortByStartThenID(result.regions);
    return result;
}

void encode(Json& json, const ExtraAudioRegion& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("startTime", value.startTime)
        .put("endTime", value.endTime)
        .put("filePath", value.filePath)
        .put("volume", value.volume);
}

void encode(Json& json, const ExtraAudioTrack& value) {
    JsonObjectWriter(json).put("regions", value.regions);
}

void decode(const Json& json, ExtraAudioRegion& value) {
    const JsonObject object(json);
    object.required("id", value.id);
    object.required("startTime", value.startTime);
    object.required("endTime", value.endTime);
    object.required("filePath", value.filePath);
    object.required("volume", value.volume);
}

void decode(const Json& json, ExtraAudioTrack& value) {
    JsonObject(json).required("regions", value.regions);
}

} // namespace tavrin
