#include "TavrinKit/Project/ZoomTrack.h"

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TrackOrder.h"

namespace tavrin {
namespace {

void sortByStart(std::vector<ZoomSegment>& segments) {
    std::ranges::stable_sort(segments, {}, &ZoomSegment::startTime);
}

} // namespace

ZoomSegment ZoomSegment::normalized() const {
    ZoomSegment result = *this;
    result.endTime = atLeast(endTime, startTime);
    result.scale = atLeast(scale, 1);
    return result;
}

ZoomTrack ZoomTrack::normalized() const {
    ZoomTrack result = *this;
    sortByStart(result.segments);
    return result;
}

void ZoomTrack::add(ZoomSegment segment) {
    segments.push_back(segment);
    sortByStart(segments);
}

void ZoomTrack::updateBounds(const UUID& segmentID, std::optional<double> start, std::optional<double> end) {
    ZoomSegment* segment = findByID(segments, segmentID);
    if (segment == nullptr) {
        return;
    }
    if (start) {
        segment->startTime = atLeast(*start, 0);
    }
    segment->endTime = atLeast(end.value_or(segment->endTime), segment->startTime);
    sortByStart(segments);
}

void ZoomTrack::setMode(const UUID& segmentID, ZoomMode mode) {
    if (ZoomSegment* segment = findByID(segments, segmentID)) {
        segment->mode = mode;
    }
}

void ZoomTrack::setEnabled(const UUID& segmentID, bool enabled) {
    if (ZoomSegment* segment = findByID(segments, segmentID)) {
        segment->enabled = enabled;
    }
}

void ZoomTrack::setTransitionStyle(const UUID& segmentID, ZoomTransitionStyle style) {
    if (ZoomSegment* segment = findByID(segments, segmentID)) {
        segment->transitionStyle = style;
    }
}

void ZoomTrack::remove(const UUID& segmentID) {
    std::erase_if(segments, [&](const ZoomSegment& segment) { return segment.id == segmentID; });
}

void encode(Json& json, const ZoomSegment& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("startTime", value.startTime)
        .put("endTime", value.endTime)
        .put("focus", value.focus)
        .put("scale", value.scale)
        .put("enabled", value.enabled)
        .put("mode", value.mode)
        .put("transitionStyle", value.transitionStyle);
}

void encode(Json& json, const ZoomTrack& value) {
    JsonObjectWriter(json).put("segments", value.segments);
}

void decode(const Json& json, ZoomSegment& value) {
    ZoomSegment segment;
    const JsonObject object(json);
    object.tolerated("id", segment.id);
    object.tolerated("startTime", segment.startTime);
    object.tolerated("endTime", segment.endTime);
    object.tolerated("focus", segment.focus);
    object.tolerated("scale", segment.scale);
    object.tolerated("enabled", segment.enabled);
    object.tolerated("mode", segment.mode);
    object.tolerated("transitionStyle", segment.transitionStyle);
    value = segment.normalized();
}

void decode(const Json& json, ZoomTrack& value) {
    JsonObject(json).required("segments", value.segments);
}

} // namespace tavrin
