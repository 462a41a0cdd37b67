#include "TavrinKit/Project/ZoomTrack.h"

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TrackOrder.h"

namespace tavrin {
namespace {

void sortByStart(std::vector<ZoomSegment>& segments) {
    sortBy(segments, [](const ZoomSegment& segment) { return placeOf(segment.startTime); });
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

} // namespace tavrin
