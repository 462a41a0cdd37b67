#pragma once

#include <vector>

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/SpeedTrack.h"

namespace tavrin {

/// The way between the time of the recording and the time of the finished video, which speed regions
/// stretch and squeeze. Immutable once built.
class TimelineTimeMapper {
public:
    /// A stretch of constant speed. The length of `sourceRange` divided by `speed` is that of `editedRange`.
    struct Segment {
        ClipTimeRange sourceRange;
        ClipTimeRange editedRange;
        double speed = 1;

        friend bool operator==(const Segment&, const Segment&) = default;
    };

    /// @param sourceDuration  seconds; what is not finite or negative counts as 0
    /// @param speedRegions    in any order; where two overlap, the earlier one holds
    TimelineTimeMapper(double sourceDuration, std::vector<SpeedRegion> speedRegions);

    /// Without gaps, in order; empty when there is no duration.
    [[nodiscard]] const std::vector<Segment>& segments() const { return segments_; }
    [[nodiscard]] double sourceDuration() const { return sourceDuration_; }
    [[nodiscard]] double editedDuration() const { return editedDuration_; }

    /// @param sourceTime  held to 0...sourceDuration
    [[nodiscard]] double editedTime(double sourceTime) const;

    /// @param editedTime  held to 0...editedDuration
    [[nodiscard]] double sourceTime(double editedTime) const;

private:
    std::vector<Segment> segments_;
    double sourceDuration_;
    double editedDuration_ = 0;
};

} // namespace tavrin
