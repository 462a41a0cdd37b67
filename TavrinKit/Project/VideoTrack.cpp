#include "TavrinKit/Project/VideoTrack.h"

#include <algorithm>

namespace tavrin {

TimelineClip TimelineClip::normalized() const {
    TimelineClip result = *this;
    result.lane = std::max<std::int64_t>(lane, 0);
    return result;
}

VideoTrack VideoTrack::normalized() const {
    VideoTrack result = *this;
    result.normalizeClipOrder();
    return result;
}

void VideoTrack::normalizeClipOrder() {
    std::ranges::stable_sort(clips, [](const TimelineClip& a, const TimelineClip& b) {
        if (a.lane != b.lane) {
            return a.lane < b.lane;
        }
        const double aStart = a.timelineRange.startTime;
        const double bStart = b.timelineRange.startTime;
        return aStart != bStart ? aStart < bStart : a.id < b.id;
    });
}

void encode(Json& json, const TimelineClip& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("sourceID", value.sourceID)
        .put("sourceRange", value.sourceRange)
        .put("timelineRange", value.timelineRange)
        .put("lane", value.lane)
        .put("takeGroupID", value.takeGroupID);
}

void encode(Json& json, const ClipTake& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("sourceID", value.sourceID)
        .put("sourceRange", value.sourceRange)
        .put("label", value.label);
}

void encode(Json& json, const TakeGroup& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("clipID", value.clipID)
        .put("takes", value.takes)
        .put("committedTakeID", value.committedTakeID)
        .put("previewTakeID", value.previewTakeID);
}

void encode(Json& json, const VideoTrack& value) {
    JsonObjectWriter(json).put("clips", value.clips).put("takeGroups", value.takeGroups);
}

void decode(const Json& json, TimelineClip& value) {
    const JsonObject object(json);
    object.required("id", value.id);
    object.required("sourceID", value.sourceID);
    object.required("sourceRange", value.sourceRange);
    object.required("timelineRange", value.timelineRange);
    object.required("lane", value.lane);
    object.tolerated("takeGroupID", value.takeGroupID);
}

void decode(const Json& json, ClipTake& value) {
    const JsonObject object(json);
    object.required("id", value.id);
    object.required("sourceID", value.sourceID);
    object.required("sourceRange", value.sourceRange);
    object.required("label", value.label);
}

void decode(const Json& json, TakeGroup& value) {
    const JsonObject object(json);
    object.required("id", value.id);
    object.required("clipID", value.clipID);
    object.required("takes", value.takes);
    object.required("committedTakeID", value.committedTakeID);
    object.tolerated("previewTakeID", value.previewTakeID);
}

void decode(const Json& json, VideoTrack& value) {
    const JsonObject object(json);
    object.required("clips", value.clips);
    object.required("takeGroups", value.takeGroups);
}

} // namespace tavrin
