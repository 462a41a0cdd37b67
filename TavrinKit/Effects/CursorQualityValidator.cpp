#include "TavrinKit/Effects/CursorQualityValidator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <optional>

#include <cairo.h>

namespace tavrin {
namespace {

constexpr int side = 256;
constexpr Vec2 glyphOrigin{56, 52};
constexpr double pixelsPerUnit = 3.8;

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

/// Where the glyph's coordinates lie in the bitmap.
struct Placement {
    double scale;

    [[nodiscard]] Vec2 apply(Vec2 point) const { return glyphOrigin + point * scale; }
};

void addPolygon(cairo_t* context, const VectorPath::Polygon& polygon, const Placement& placement) {
    cairo_new_sub_path(context);
    for (const Vec2& point : polygon.points) {
        const Vec2 placed = placement.apply(point);
        cairo_line_to(context, placed.x, placed.y);
    }
    cairo_close_path(context);
}

void addEllipse(cairo_t* context, const VectorPath::Ellipse& ellipse, const Placement& placement) {
    const Vec2 middle = placement.apply(ellipse.bounds.mid());
    const double radiusX = ellipse.bounds.width / 2 * placement.scale;
    const double radiusY = ellipse.bounds.height / 2 * placement.scale;
    if (radiusX == 0 || radiusY == 0) {
        return;
    }
    cairo_save(context);
    cairo_translate(context, middle.x, middle.y);
    cairo_scale(context, radiusX, radiusY);
    cairo_new_sub_path(context);
    cairo_arc(context, 0, 0, 1, 0, 2 * std::numbers::pi);
    cairo_close_path(context);
    cairo_restore(context);
}

void addPath(cairo_t* context, const VectorPath& path, const Placement& placement) {
    for (const VectorPath::Polygon& polygon : path.polygons) {
        addPolygon(context, polygon, placement);
    }
    for (const VectorPath::Ellipse& ellipse : path.ellipses) {
        addEllipse(context, ellipse, placement);
    }
}

/// The glyph in white on black; null when it can't be drawn at this scale.
Surface rasterized(CursorGlyphKind glyph, double scale) {
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, side, side), &cairo_surface_destroy);
    const Context context(cairo_create(surface.get()), &cairo_destroy);
    cairo_set_antialias(context.get(), CAIRO_ANTIALIAS_BEST);
    cairo_set_fill_rule(context.get(), CAIRO_FILL_RULE_WINDING);
    addPath(context.get(), CursorGlyph::path(glyph), {scale * pixelsPerUnit});
    cairo_fill(context.get());
    cairo_surface_flush(surface.get());
    const bool drawn = cairo_status(context.get()) == CAIRO_STATUS_SUCCESS &&
                       cairo_surface_status(surface.get()) == CAIRO_STATUS_SUCCESS;
    return drawn ? std::move(surface) : Surface(nullptr, &cairo_surface_destroy);
}

std::optional<CursorSharpnessSample> measure(CursorGlyphKind glyph, double scale) {
    constexpr double edgeThreshold = 0.08;
    const Surface surface = rasterized(glyph, scale);
    if (!surface) {
        return std::nullopt;
    }
    const std::uint8_t* const data = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    const auto value = [&](int x, int y) {
        return data[y * stride + x] / 255.0;
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
        if (const auto sample = measure(glyph, scale)) {
            report.samples.push_back(*sample);
        }
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
