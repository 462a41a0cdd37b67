#include "TavrinKit/Effects/ReframingEngine.h"

#include <algorithm>

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/ZoomTrack.h"

namespace tavrin {
namespace {

constexpr double narrowerScaleFactor = 0.78;
constexpr double focusOvershoot = 0.02;
constexpr double focusInset = 0.05;

bool isNearFrame(double coordinate) {
    return coordinate >= -focusOvershoot && coordinate <= 1 + focusOvershoot;
}

double offTheEdges(double coordinate) {
    return clampedTo(coordinate, focusInset, 1 - focusInset);
}

} // namespace

ZoomSegment ReframingEngine::reframed(const ZoomSegment& segment, Size2D sourceSize, AspectPreset preset) {
    const double sourceAspect = sourceSize.aspectRatio();
    ZoomSegment result = segment;
    if (!(sourceAspect > 0)) {
        return result;
    }
    if (sourceAspect > aspectRatio(preset)) {
        result.scale = atLeast(segment.scale * narrowerScaleFactor, 1);
    }
    if (isNearFrame(segment.focus.x) && isNearFrame(segment.focus.y)) {
        result.focus = {offTheEdges(segment.focus.x), offTheEdges(segment.focus.y)};
    }
    return result;
}

ZoomTrack ReframingEngine::reframedTrack(const ZoomTrack& track, Size2D sourceSize, AspectPreset preset) {
    std::vector<ZoomSegment> segments;
    segments.reserve(track.segments.size());
    for (const ZoomSegment& segment : track.segments) {
        segments.push_back(reframed(segment, sourceSize, preset));
    }
    return ZoomTrack{std::move(segments)}.normalized();
}

} // namespace tavrin
