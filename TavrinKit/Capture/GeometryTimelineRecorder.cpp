#include "TavrinKit/Capture/GeometryTimelineRecorder.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

double usableDimension(double value) {
    return std::isfinite(value) && value > 0 ? value : 0;
}

bool isSamePlace(const Rect& a, const Rect& b) {
    constexpr double tolerance = 0.5; // points
    return std::abs(a.minX() - b.minX()) <= tolerance && std::abs(a.minY() - b.minY()) <= tolerance &&
           std::abs(a.width - b.width) <= tolerance && std::abs(a.height - b.height) <= tolerance;
}

bool saysNothingNew(const CaptureGeometrySample& sample, const CaptureGeometrySample& last) {
    return isSamePlace(sample.screenRect, last.screenRect) &&
           isSamePlace(sample.contentRect, last.contentRect) &&
           std::abs(sample.scaleFactor - last.scaleFactor) <= 0.01;
}

} // namespace

GeometryTimelineRecorder::GeometryTimelineRecorder(Size2D surfaceSizePixels)
    : surfaceSizePixels_{usableDimension(surfaceSizePixels.width),
                         usableDimension(surfaceSizePixels.height)} {}

void GeometryTimelineRecorder::append(const VideoSample& sample) {
    const std::optional<CaptureGeometrySample> made = makeSample(sample);
    if (!made) {
        return;
    }
    samples_.with([&](std::vector<CaptureGeometrySample>& samples) {
        if (samples.empty() || !saysNothingNew(*made, samples.back())) {
            samples.push_back(*made);
        }
    });
}

std::optional<CaptureGeometrySample> GeometryTimelineRecorder::makeSample(const VideoSample& sample) const {
    if (sample.status != FrameStatus::complete && sample.status != FrameStatus::started) {
        return std::nullopt;
    }
    if (!sample.screenRect) {
        return std::nullopt;
    }
    const double scale = sample.scaleFactor.value_or(1.0);
    const double pointsPerPixel = 1 / (scale > 1.0 ? scale : 1.0);
    const Rect wholeSurface{0, 0, surfaceSizePixels_.width * pointsPerPixel,
                            surfaceSizePixels_.height * pointsPerPixel};
    const double now = HostClock::now();

    CaptureGeometrySample made;
    made.timestamp = std::isfinite(now) ? now : 0;
    made.screenRect = sample.screenRect->standardized();
    made.contentRect = sample.contentRect.value_or(wholeSurface).standardized();
    made.scaleFactor = std::isfinite(scale) ? scale : 1.0;
    made.surfaceSizePixels = surfaceSizePixels_;
    made.isYUpward = true;
    return made;
}

} // namespace tavrin
