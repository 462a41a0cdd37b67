#include "TavrinKit/Project/TimelineTimeMapper.h"

#include <algorithm>

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TrackOrder.h"

namespace tavrin {
namespace {

/// In order, inside the duration, without overlap: of two regions the earlier one holds.
std::vector<SpeedRegion> normalizedRegions(std::vector<SpeedRegion> regions, double duration) {
    sortByStartThenID(regions);
    std::vector<SpeedRegion> result;
    double cursor = 0;
    for (SpeedRegion region : regions) {
        const double start = atLeast(region.startTime, cursor);
        const double end = atLeast(region.endTime, start);
        region.startTime = std::min(start, duration);
        region.endTime = std::min(end, duration);
        if (region.startTime < region.endTime) {
            cursor = region.endTime;
            result.push_back(region);
        }
    }
    return result;
}

/// Keeps rounding from leaving the range.
double heldTo(const ClipTimeRange& range, double time) {
    return clampedTo(time, range.startTime, range.endTime);
}

bool contains(const ClipTimeRange& range, double time) {
    return range.startTime <= time && time <= range.endTime;
}

} // namespace

TimelineTimeMapper::TimelineTimeMapper(double sourceDuration, std::vector<SpeedRegion> speedRegions)
    : sourceDuration_(atLeast(finiteOr(sourceDuration, 0), 0)) {
    double sourceCursor = 0;
    const auto addUntil = [&](double sourceEnd, double speed) {
        if (sourceCursor < sourceEnd) {
            const double editedEnd = editedDuration_ + (sourceEnd - sourceCursor) / speed;
            segments_.push_back({{sourceCursor, sourceEnd}, {editedDuration_, editedEnd}, speed});
            sourceCursor = sourceEnd;
            editedDuration_ = editedEnd;
        }
    };
    for (const SpeedRegion& region : normalizedRegions(std::move(speedRegions), sourceDuration_)) {
        addUntil(region.startTime, 1);
        addUntil(region.endTime, multiplier(region.speed));
    }
    addUntil(sourceDuration_, 1);
}

double TimelineTimeMapper::editedTime(double sourceTime) const {
    const double time = clampedTo(sourceTime, 0, sourceDuration_);
    for (const Segment& segment : segments_) {
        if (contains(segment.sourceRange, time)) {
            const double passed = (time - segment.sourceRange.startTime) / segment.speed;
            return heldTo(segment.editedRange, segment.editedRange.startTime + passed);
        }
    }
    return clampedTo(time, 0, editedDuration_);
}

double TimelineTimeMapper::sourceTime(double editedTime) const {
    const double time = clampedTo(editedTime, 0, editedDuration_);
    for (const Segment& segment : segments_) {
        if (contains(segment.editedRange, time)) {
            const double passed = (time - segment.editedRange.startTime) * segment.speed;
            return heldTo(segment.sourceRange, segment.sourceRange.startTime + passed);
        }
    }
    return clampedTo(time, 0, sourceDuration_);
}

} // namespace tavrin
