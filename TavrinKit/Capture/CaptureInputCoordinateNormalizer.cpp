#include "TavrinKit/Capture/CaptureInputCoordinateNormalizer.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace tavrin {
namespace {

constexpr double smallestExtent = 0.5; // points: anything less is no place to map into
constexpr double margin = 0.08;        // of the source's size

bool isUsable(const Rect& rect) {
    return !rect.isNull() && !rect.isInfinite() && rect.width > smallestExtent &&
           rect.height > smallestExtent;
}

std::optional<Rect> sourceBounds(const std::optional<CaptureCoordinateMappingContext>& mappingContext) {
    if (!mappingContext || !mappingContext->sourceBounds) {
        return std::nullopt;
    }
    return mappingContext->sourceBounds->standardized();
}

bool isNear(double a, double b) {
    return std::abs(a - b) <= 0.5;
}

bool isNear(const Rect& a, const Rect& b) {
    return isNear(a.minX(), b.minX()) && isNear(a.minY(), b.minY()) && isNear(a.width, b.width) &&
           isNear(a.height, b.height);
}

bool isNear(const ResolvedGeometrySample& a, const ResolvedGeometrySample& b) {
    return isNear(a.screenRect, b.screenRect) && isNear(a.contentRect, b.contentRect) &&
           isNear(a.surfaceSizePoints.width, b.surfaceSizePoints.width) &&
           isNear(a.surfaceSizePoints.height, b.surfaceSizePoints.height);
}

double squaredDistance(const Rect& a, const Rect& b) {
    const auto square = [](double value) {
        return value * value;
    };
    return square(a.midX() - b.midX()) + square(a.midY() - b.midY()) + square(a.width - b.width) +
           square(a.height - b.height);
}

/// The rectangle's fraction (0...1) at which a location lies, if it lies within the margin.
std::optional<Vec2> fractionWithin(const Rect& rect, Vec2 location) {
    const double nx = (location.x - rect.minX()) / rect.width;
    const double ny = (location.y - rect.minY()) / rect.height;
    const auto isWithinMargin = [](double n) {
        return n >= -margin && n <= 1 + margin;
    };
    if (!isWithinMargin(nx) || !isWithinMargin(ny)) {
        return std::nullopt;
    }
    return Vec2{std::clamp(nx, 0.0, 1.0), std::clamp(ny, 0.0, 1.0)};
}

/// Whichever of the rectangle and its turned-over twin is nearer to where the source lay before.
/// @param mainDisplayHeight  not positive when it is unknown
Rect oriented(const Rect& screenRect, const std::optional<Rect>& reference, double mainDisplayHeight) {
    if (!reference || !isUsable(*reference)) {
        return screenRect;
    }
    Rect alternative = screenRect;
    if (std::isfinite(mainDisplayHeight) && mainDisplayHeight > 0) {
        alternative.y = mainDisplayHeight - screenRect.minY() - screenRect.height;
    }
    return squaredDistance(alternative, *reference) < squaredDistance(screenRect, *reference) ? alternative
                                                                                              : screenRect;
}

double sanitizedScale(const CaptureGeometrySample& sample) {
    const auto isUsableScale = [](double scale) {
        return std::isfinite(scale) && scale > 0.01;
    };
    if (isUsableScale(sample.scaleFactor)) {
        return sample.scaleFactor;
    }
    const Rect content = sample.contentRect.standardized();
    if (content.width > smallestExtent) {
        if (const double scale = sample.surfaceSizePixels.width / content.width; isUsableScale(scale)) {
            return scale;
        }
    }
    if (content.height > smallestExtent) {
        if (const double scale = sample.surfaceSizePixels.height / content.height; isUsableScale(scale)) {
            return scale;
        }
    }
    return 1.0;
}

ResolvedGeometrySample resolved(const CaptureGeometrySample& sample, const std::optional<Rect>& reference,
                                double mainDisplayHeight) {
    const double scale = sanitizedScale(sample);
    ResolvedGeometrySample result;
    result.timestamp = sample.timestamp;
    result.screenRect = sample.screenRect.standardized();
    if (!sample.isYUpward) {
        result.screenRect = oriented(result.screenRect, reference, mainDisplayHeight);
    }
    result.surfaceSizePoints = {sample.surfaceSizePixels.width / scale,
                                sample.surfaceSizePixels.height / scale};
    result.contentRect = sample.contentRect.standardized();
    const double surfaceHeight = result.surfaceSizePoints.height;
    if (std::isfinite(surfaceHeight) && surfaceHeight > 0) {
        result.contentRect.y = surfaceHeight - result.contentRect.minY() - result.contentRect.height;
    }
    return result;
}

} // namespace

CaptureInputCoordinateNormalizer::CaptureInputCoordinateNormalizer(
    CaptureOptions options, const std::vector<CaptureGeometrySample>& geometrySamples)
    : options_(std::move(options)),
      geometrySamples_(resolveGeometrySamples(geometrySamples, options_.mappingContext)) {}

std::vector<ResolvedGeometrySample> CaptureInputCoordinateNormalizer::resolveGeometrySamples(
    const std::vector<CaptureGeometrySample>& samples,
    const std::optional<CaptureCoordinateMappingContext>& mappingContext) {
    std::vector<CaptureGeometrySample> ordered;
    std::copy_if(samples.begin(), samples.end(), std::back_inserter(ordered),
                 [](const CaptureGeometrySample& sample) { return std::isfinite(sample.timestamp); });
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto& a, const auto& b) { return a.timestamp < b.timestamp; });

    std::optional<Rect> reference = sourceBounds(mappingContext);
    const double mainDisplayHeight = mappingContext ? mappingContext->mainDisplayHeight.value_or(0) : 0;
    std::vector<ResolvedGeometrySample> result;
    for (const CaptureGeometrySample& sample : ordered) {
        const ResolvedGeometrySample made = resolved(sample, reference, mainDisplayHeight);
        if (result.empty() || !isNear(made, result.back())) {
            reference = made.screenRect;
            result.push_back(made);
        }
    }
    return result;
}

std::optional<Vec2>
CaptureInputCoordinateNormalizer::normalizedLocation(Vec2 location, const ResolvedGeometrySample& sample) {
    const Size2D surface = sample.surfaceSizePoints;
    if (!isUsable(sample.screenRect) || !isUsable(sample.contentRect)) {
        return std::nullopt;
    }
    const std::optional<Vec2> fraction = fractionWithin(sample.screenRect, location);
    if (!fraction || !(surface.width > smallestExtent) || !(surface.height > smallestExtent)) {
        return std::nullopt;
    }
    const Rect& content = sample.contentRect;
    const Vec2 mapped{(content.minX() + fraction->x * content.width) / surface.width,
                      (content.minY() + fraction->y * content.height) / surface.height};
    if (!mapped.isFinite()) {
        return std::nullopt;
    }
    return Vec2{std::clamp(mapped.x, 0.0, 1.0), std::clamp(mapped.y, 0.0, 1.0)};
}

std::optional<Vec2> CaptureInputCoordinateNormalizer::normalizedLocation(Vec2 location, double time) const {
    if (!location.isFinite()) {
        return std::nullopt;
    }
    if (const std::optional<Vec2> found = locationInWindow(location, time)) {
        return found;
    }
    const std::optional<Rect> bounds = sourceBounds(options_.mappingContext);
    return bounds && isUsable(*bounds) ? fractionWithin(*bounds, location) : location;
}

std::optional<Vec2> CaptureInputCoordinateNormalizer::locationInWindow(Vec2 location, double time) const {
    if (!options_.target.isWindow() || geometrySamples_.empty()) {
        return std::nullopt;
    }
    auto inForce =
        std::upper_bound(geometrySamples_.begin(), geometrySamples_.end(), time,
                         [](double t, const ResolvedGeometrySample& sample) { return t < sample.timestamp; });
    if (inForce != geometrySamples_.begin()) {
        --inForce;
    }
    return normalizedLocation(location, *inForce);
}

} // namespace tavrin
