#include "TavrinKit/Effects/AutoZoomMerge.h"

#include <algorithm>
#include <cmath>

namespace tavrin {
namespace {

double midpoint(const ZoomSegment& segment) {
    return (segment.startTime + segment.endTime) / 2;
}

bool areNearInTime(const ZoomSegment& a, const ZoomSegment& b) {
    constexpr double nearCenters = 0.5;
    constexpr double overlapShare = 0.5;
    const double overlap = std::max(0.0, std::min(a.endTime, b.endTime) - std::max(a.startTime, b.startTime));
    const double shorter = std::min(a.duration(), b.duration());
    return std::abs(midpoint(a) - midpoint(b)) <= nearCenters || overlap >= shorter * overlapShare;
}

bool areNearInPlace(Vec2 a, Vec2 b) {
    constexpr double nearFraction = 0.12;
    constexpr double nearPixels = 80;
    if (a.isNormalized() != b.isNormalized()) {
        return false;
    }
    return std::hypot(a.x - b.x, a.y - b.y) <= (a.isNormalized() ? nearFraction : nearPixels);
}

} // namespace

bool AutoZoomMerge::isDuplicate(const ZoomSegment& proposed, const ZoomSegment& existing) {
    return areNearInTime(proposed, existing) && areNearInPlace(proposed.focus, existing.focus);
}

void AutoZoomMerge::merge(ZoomTrack& track, const std::vector<ZoomSegment>& proposals) {
    std::vector<ZoomSegment> segments = track.segments;
    for (const ZoomSegment& proposal : proposals) {
        if (std::none_of(segments.begin(), segments.end(),
                         [&](const ZoomSegment& existing) { return isDuplicate(proposal, existing); })) {
            segments.push_back(proposal);
        }
    }
    if (segments.size() != track.segments.size()) {
        track = ZoomTrack{std::move(segments)}.normalized();
    }
}

} // namespace tavrin
