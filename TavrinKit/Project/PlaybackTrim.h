#pragma once

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/TavrinConstants.h"
#include "TavrinKit/Project/TimelineModel.h"

namespace tavrin {

/// Cuts both ends off a take: resolves the range that plays, and makes a timeline and events that start at
/// zero, as though the recording had always been that short.
///
/// Pure functions, total for any number; any thread. Times are seconds.
struct PlaybackTrim {
    /// Differences up to this don't count: half a frame at 60 frames per second.
    static constexpr double epsilon = 1.0 / 120;

    /// The range held to 0...sourceDuration and at least `minimumDuration` long, as far as the source is.
    ///
    /// @param startTime        what is not finite or not positive counts as 0
    /// @param endTime          what is not finite counts as the source's end
    /// @param sourceDuration   what is not finite or negative counts as 0: the range is empty then
    /// @param minimumDuration  counts as at least 0.001
    [[nodiscard]] static ClipTimeRange clampedRange(double startTime, double endTime, double sourceDuration,
                                                    double minimumDuration);

    /// The timeline's trim range, clamped; the whole source when there is none.
    [[nodiscard]] static ClipTimeRange
    resolvedRange(const TimelineModel& timeline, double sourceDuration,
                  double minimumDuration = TavrinConstants::minimumTrimDuration);

    /// Whether the range leaves out more than `epsilon` at either end of the source.
    [[nodiscard]] static bool isActive(const ClipTimeRange& range, double sourceDuration);

    /// The timeline of the cut take: without a trim range, zooms, speed regions, annotations and extra sound
    /// moved, cut to the range and normalised, and left out where the range leaves nothing of them. Clips and
    /// everything without times stay, and so does the style of an annotation.
    ///
    /// A zoom that is cut keeps its scale, but moves in and out within what is left of it.
    [[nodiscard]] static TimelineModel trimmedTimeline(const TimelineModel& timeline,
                                                       const ClipTimeRange& range);

    /// The events of the cut take. Where the pointer was and how it looked at the cut is carried in as an
    /// event at 0; a key from before the cut stays out.
    [[nodiscard]] static EventTimeline trimmedEvents(const EventTimeline& events, const ClipTimeRange& range);
};

} // namespace tavrin
