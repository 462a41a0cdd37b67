#include "TavrinKit/Compositing/CursorQualityValidator.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Imaging/Raster.h"

namespace tavrin {
namespace {

constexpr int side = 256;
constexpr Vec2 glyphOrigin{56, 52};
constexpr double pixelsPerUnit = 3.8;

/// The glyph in white; what is black is transparent here.
PixelBuffer rasterized(CursorGlyphKind glyph, double scale) {
    Raster raster({side, side}, Raster::YAxis::down);
    const double k = scale * pixelsPerUnit;
    raster.fill(CursorGlyph::path(glyph), {1, 1, 1, 1}, {k, 0, 0, k, glyphOrigin.x, glyphOrigin.y});
    return raster.pixels();
}

CursorSharpnessSample measure(CursorGlyphKind glyph, double scale) {
    constexpr double edgeThreshold = 0.08;
    const PixelBuffer picture = rasterized(glyph, scale);
    const auto value = [&](int x, int y) {
        return picture.row(0, y)[4 * x] / 255.0;
    };

    int edgePixels = 0;
    int transitionPixels = 0;
    double sum = 0;
    for (int y = 1; y < side - 1; ++y) {
        for (int x = 1; x < side - 1; ++x) {
            const double gx = value(x + 1, y) - value(x - 1, y);
            const double gy = value(x, y + 1) - value(x, y - 1);
            const double magnitude = std::sqrt(gx * gx + gy * gy);
            if (magnitude > edgeThreshold) {
                ++edgePixels;
                sum += magnitude;
                transitionPixels += value(x, y) > 0.1 && value(x, y) < 0.9;
            }
        }
    }
    CursorSharpnessSample sample{.glyph = glyph, .scale = scale};
    if (edgePixels > 0) {
        sample.edgeEnergy = sum / edgePixels;
        sample.transitionRatio = double(transitionPixels) / edgePixels;
    }
    return sample;
}

} // namespace

double CursorSharpnessReport::minimumEdgeEnergy() const {
    const auto worst = std::min_element(samples.begin(), samples.end(), [](const auto& a, const auto& b) {
        return a.edgeEnergy < b.edgeEnergy;
    });
    return worst == samples.end() ? 0 : worst->edgeEnergy;
}

double CursorSharpnessReport::maximumTransitionRatio() const {
    const auto worst = std::max_element(samples.begin(), samples.end(), [](const auto& a, const auto& b) {
        return a.transitionRatio < b.transitionRatio;
    });
    return worst == samples.end() ? 1 : worst->transitionRatio;
}

CursorSharpnessReport CursorQualityValidator::analyzeSharpness(CursorGlyphKind glyph, double minScale,
                                                               double maxScale, double step) {
    constexpr double tolerance = 0.0001;
    CursorSharpnessReport report;
    const bool isRange =
        minScale <= maxScale && step > 0 && std::isfinite(minScale) && std::isfinite(maxScale);
    if (!isRange) {
        return report;
    }
    double next = minScale;
    double scale = 0;
    do {
        scale = next;
        report.samples.push_back(measure(glyph, scale));
        next = scale + step;
    } while (next <= maxScale + tolerance && next > scale);
    return report;
}

CursorSharpnessReport CursorQualityValidator::analyzeDefaultArrowSharpness(double minScale, double maxScale,
                                                                           double step) {
    return analyzeSharpness(CursorGlyphKind::arrow, minScale, maxScale, step);
}

bool CursorQualityValidator::validateGlyphSharpness(CursorGlyphKind glyph, double minScale, double maxScale) {
    constexpr double step = 0.25;
    constexpr double leastEdgeEnergy = 0.48;
    constexpr double greatestTransitionRatio = 0.72;
    const CursorSharpnessReport report = analyzeSharpness(glyph, minScale, maxScale, step);
    return !report.samples.empty() && report.minimumEdgeEnergy() >= leastEdgeEnergy &&
           report.maximumTransitionRatio() <= greatestTransitionRatio;
}

bool CursorQualityValidator::validateDefaultArrowSharpness(double minScale, double maxScale) {
    return validateGlyphSharpness(CursorGlyphKind::arrow, minScale, maxScale);
}

} // namespace tavrin
