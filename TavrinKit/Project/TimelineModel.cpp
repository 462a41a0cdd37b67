#include "TavrinKit/Project/TimelineModel.h"

namespace tavrin {

void encode(Json& json, const TimelineModel& value) {
    JsonObjectWriter(json)
        .put("videoTrack", value.videoTrack)
        .put("trimRange", value.trimRange)
        .put("cropTrack", value.cropTrack)
        .put("speedTrack", value.speedTrack)
        .put("zoomTrack", value.zoomTrack)
        .put("cursorTrack", value.cursorTrack)
        .put("framingTrack", value.framingTrack)
        .put("watermarkTrack", value.watermarkTrack)
        .put("cameraPiPTrack", value.cameraPiPTrack)
        .put("motionBlurStyle", value.motionBlurStyle)
        .put("typingTrack", value.typingTrack)
        .put("annotationTrack", value.annotationTrack)
        .put("extraAudioTrack", value.extraAudioTrack)
        .put("audioMix", value.audioMix);
}

void decode(const Json& json, TimelineModel& value) {
    value = {};
    const JsonObject object(json);
    object.tolerated("videoTrack", value.videoTrack);
    object.tolerated("trimRange", value.trimRange);
    object.tolerated("cropTrack", value.cropTrack);
    object.tolerated("speedTrack", value.speedTrack);
    object.tolerated("zoomTrack", value.zoomTrack);
    object.tolerated("cursorTrack", value.cursorTrack);
    object.tolerated("framingTrack", value.framingTrack);
    object.tolerated("watermarkTrack", value.watermarkTrack);
    object.tolerated("cameraPiPTrack", value.cameraPiPTrack);
    object.tolerated("motionBlurStyle", value.motionBlurStyle);
    object.tolerated("typingTrack", value.typingTrack);
    object.tolerated("annotationTrack", value.annotationTrack);
    object.tolerated("extraAudioTrack", value.extraAudioTrack);
    object.tolerated("audioMix", value.audioMix);
}

} // namespace tavrin
