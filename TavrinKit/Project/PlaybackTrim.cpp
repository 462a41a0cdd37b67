#include "TavrinKit/Project/PlaybackTrim.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

double sanitizedDuration(double duration) {
    return atLeast(finiteOr(duration, 0), 0);
}

/// What the range leaves of the regions, moved to its start and normalised.
template <typename Region>
std::vector<Region> trimmedRegions(const std::vector<Region>& regions, const ClipTimeRange& range) {
    std::vector<Region> result;
    for (const Region& region : regions) {
        if (!(region.endTime > range.startTime && region.startTime < range.endTime)) {
            continue;
        }
        Region trimmed = region;
        trimmed.startTime = std::max(region.startTime, range.startTime) - range.startTime;
        trimmed.endTime = std::min(region.endTime, range.endTime) - range.startTime;
        if (trimmed.startTime <= trimmed.endTime) {
            result.push_back(trimmed.normalized());
        }
    }
    return result;
}

/// The part of a sorted list of events that lies in the range, give or take `epsilon`.
template <typename Event>
auto eventsWithin(const std::vector<Event>& events, const ClipTimeRange& range) {
    const auto first = std::ranges::partition_point(events, [&](const Event& event) {
        return !(event.timestamp >= range.startTime - PlaybackTrim::epsilon);
    });
    const auto end = std::partition_point(first, events.end(), [&](const Event& event) {
        return event.timestamp <= range.endTime + PlaybackTrim::epsilon;
    });
    return std::pair(first, end);
}

template <typename Event>
Event shifted(const Event& event, double rangeStart) {
    Event result = event;
    result.timestamp = atLeast(event.timestamp - rangeStart, 0);
    return result;
}

/// The events of the range, and before them, at 0, the last one from before it unless one is there already.
template <typename Event>
std::vector<Event> shiftedEvents(const std::vector<Event>& events, const ClipTimeRange& range) {
    const auto [first, end] = eventsWithin(events, range);
    std::vector<Event> result;
    result.reserve(std::size_t(end - first) + 1);
    if (first != events.begin() &&
        (first == end || shifted(*first, range.startTime).timestamp > PlaybackTrim::epsilon)) {
        result.push_back(*(first - 1));
        result.back().timestamp = 0;
    }
    std::transform(first, end, std::back_inserter(result),
                   [&](const Event& event) { return shifted(event, range.startTime); });
    return result;
}

std::vector<KeyEvent> shiftedKeyEvents(const std::vector<KeyEvent>& events, const ClipTimeRange& range) {
    const auto [first, end] = eventsWithin(events, range);
    std::vector<KeyEvent> result;
    result.reserve(std::size_t(end - first));
    std::transform(first, end, std::back_inserter(result),
                   [&](const KeyEvent& event) { return shifted(event, range.startTime).normalized(); });
    return result;
}

} // namespace

ClipTimeRange PlaybackTrim::clampedRange(double startTime, double endTime, double sourceDuration,
                                         double minimumDuration) {
    constexpr double shortestMinimum = 0.001;
    const double duration = sanitizedDuration(sourceDuration);
    const double minimum = std::min(duration, atLeast(minimumDuration, shortestMinimum));
    const double start = std::min(atLeast(finiteOr(startTime, 0), 0), atLeast(duration - minimum, 0));
    const double end = std::min(std::max(finiteOr(endTime, duration), start + minimum), duration);
    return {start, end};
}

ClipTimeRange PlaybackTrim::resolvedRange(const TimelineModel& timeline, double sourceDuration,
                                          double minimumDuration) {
    if (!timeline.trimRange) {
        return {0, sanitizedDuration(sourceDuration)};
    }
    return clampedRange(timeline.trimRange->startTime, timeline.trimRange->endTime, sourceDuration,
                        minimumDuration);
}

bool PlaybackTrim::isActive(const ClipTimeRange& range, double sourceDuration) {
    return std::abs(range.startTime) > epsilon ||
           std::abs(range.endTime - sanitizedDuration(sourceDuration)) > epsilon;
}

TimelineModel PlaybackTrim::trimmedTimeline(const TimelineModel& timeline, const ClipTimeRange& range) {
    TimelineModel result = timeline;
    result.trimRange.reset();
    result.zoomTrack = ZoomTrack{trimmedRegions(timeline.zoomTrack.segments, range)}.normalized();
    result.speedTrack = SpeedTrack{trimmedRegions(timeline.speedTrack.regions, range)}.normalized();
    result.annotationTrack =
        AnnotationTrack{trimmedRegions(timeline.annotationTrack.regions, range)}.normalized();
    result.extraAudioTrack =
        ExtraAudioTrack{trimmedRegions(timeline.extraAudioTrack.regions, range)}.normalized();
    return result;
}

EventTimeline PlaybackTrim::trimmedEvents(const EventTimeline& events, const ClipTimeRange& range) {
    return EventTimeline(shiftedEvents(events.mouseEvents(), range),
                         shiftedKeyEvents(events.keyEvents(), range),
                         shiftedEvents(events.cursorStates(), range));
}

} // namespace tavrin
