#include "FuzzTargets.h"
#include "TavrinKit/Project/EditsDocument.h"
#include "TavrinKit/Project/PlaybackTrim.h"
#include "TavrinKit/Project/TimelineTimeMapper.h"

namespace tavrin::fuzz {

void fuzzEdits(std::string_view input) {
    const auto edits = decoded<EditsDocument>(input);
    if (!edits) {
        return;
    }
    requireRoundTrip(*edits);

    constexpr double duration = 10;
    const ClipTimeRange range = PlaybackTrim::resolvedRange(edits->timeline, duration);
    require(range.startTime >= 0 && range.startTime <= range.endTime && range.endTime <= duration,
            "the trim stays in the recording");
    const TimelineModel trimmed = PlaybackTrim::trimmedTimeline(edits->timeline, range);
    const TimelineTimeMapper mapper(range.endTime - range.startTime, trimmed.speedTrack.regions);
    double end = 0;
    for (const TimelineTimeMapper::Segment& segment : mapper.segments()) {
        require(segment.editedRange.startTime == end, "segments leave no gaps");
        end = segment.editedRange.endTime;
    }
    require(mapper.editedDuration() <= 4.001 * duration,
            "a video is no longer than its slowest speed makes it");
}

} // namespace tavrin::fuzz
