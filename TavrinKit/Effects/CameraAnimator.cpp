#include "TavrinKit/Effects/CameraAnimator.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Effects/Easing.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/ZoomTrack.h"

namespace tavrin {
namespace {

double eased(double progress, ZoomTransitionStyle style) {
    switch (style) {
    case ZoomTransitionStyle::gentle:
        return Easing::quintInOut(progress);
    case ZoomTransitionStyle::smooth:
        return Easing::cubicInOut(progress);
    case ZoomTransitionStyle::snappy:
        return Easing::cubicOut(progress);
    }
    return progress;
}

/// How far the segment has gone in at `time`, 0...1; the way out is the way in, played backwards.
double easedAmount(const ZoomSegment& segment, double time, const CameraAnimator::Settings& settings) {
    const double duration = segment.endTime - segment.startTime;
    const double transition = std::min(
        std::max(duration * settings.transitionFraction, settings.minimumTransitionDuration), duration / 2);
    if (time <= segment.startTime + transition) {
        return eased((time - segment.startTime) / transition, segment.transitionStyle);
    }
    if (time >= segment.endTime - transition) {
        return eased((segment.endTime - time) / transition, segment.transitionStyle);
    }
    return 1;
}

/// By how much the segment zooms at `time`: its scale less 1, on the way in or out a part of that.
double zoomAmount(const ZoomSegment& segment, double time, const CameraAnimator::Settings& settings) {
    const bool counts = segment.enabled && segment.startTime <= time && time <= segment.endTime &&
                        segment.endTime > segment.startTime && segment.scale > 1;
    return counts ? easedAmount(segment, time, settings) * (segment.scale - 1) : 0;
}

} // namespace

CameraAnimator::CameraAnimator(const Settings& settings)
    : settings_{.transitionFraction = clampedTo(settings.transitionFraction, 0.05, 0.45),
                .minimumTransitionDuration = atLeast(settings.minimumTransitionDuration, 0.01)} {}

CameraTransform CameraAnimator::transform(double time, const ZoomTrack& track) const {
    Vec2 weightedFocus;
    double totalWeight = 0;
    double strongest = 0;
    for (const ZoomSegment& segment : track.segments) {
        const double weight = zoomAmount(segment, time, settings_);
        if (weight > 0) {
            weightedFocus = weightedFocus + segment.focus * weight;
            totalWeight += weight;
            strongest = std::max(strongest, weight);
        }
    }
    if (!(totalWeight > 0)) {
        return {};
    }
    const CameraTransform camera{{weightedFocus.x / totalWeight, weightedFocus.y / totalWeight},
                                 strongest + 1};
    return camera.center.isFinite() && std::isfinite(camera.scale) ? camera : CameraTransform{};
}

} // namespace tavrin
