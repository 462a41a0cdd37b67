#include "TavrinKit/Imaging/Raster.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numbers>
#include <stdexcept>

#include "TavrinKit/Imaging/RasterContext.h"

namespace tavrin {
namespace {

constexpr int largestSide = 16384;
constexpr double fullTurn = 2 * std::numbers::pi;

bool areFinite(std::initializer_list<double> numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); });
}

bool isFinite(const VectorPath& path, const AffineTransform& t) {
    const auto finitePoint = [](Vec2 p) {
        return p.isFinite();
    };
    return areFinite({t.a, t.b, t.c, t.d, t.tx, t.ty}) && t.determinant() != 0 &&
           std::all_of(path.polygons.begin(), path.polygons.end(),
                       [&](const VectorPath::Polygon& polygon) {
                           return std::all_of(polygon.points.begin(), polygon.points.end(), finitePoint);
                       }) &&
           std::all_of(path.ellipses.begin(), path.ellipses.end(), [](const VectorPath::Ellipse& ellipse) {
               const Rect& b = ellipse.bounds;
               return areFinite({b.x, b.y, b.width, b.height});
           });
}

void addPolygon(cairo_t* cairo, const VectorPath::Polygon& polygon) {
    cairo_new_sub_path(cairo);
    for (const Vec2& point : polygon.points) {
        cairo_line_to(cairo, point.x, point.y);
    }
    cairo_close_path(cairo);
}

/// In the sense of `VectorPath::addRectangle`, so that overlapping shapes join under the winding rule.
void addEllipse(cairo_t* cairo, const Rect& bounds) {
    if (bounds.isEmpty()) {
        return;
    }
    cairo_matrix_t saved;
    cairo_get_matrix(cairo, &saved);
    cairo_translate(cairo, bounds.midX(), bounds.midY());
    cairo_scale(cairo, std::abs(bounds.width) / 2, std::abs(bounds.height) / 2);
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, 0, 0, 1, 0, fullTurn);
    cairo_close_path(cairo);
    cairo_set_matrix(cairo, &saved);
}

void setPath(cairo_t* cairo, const VectorPath& path, const AffineTransform& t) {
    cairo_matrix_t saved;
    cairo_get_matrix(cairo, &saved);
    const cairo_matrix_t matrix{t.a, t.b, t.c, t.d, t.tx, t.ty};
    cairo_transform(cairo, &matrix);
    cairo_new_path(cairo);
    for (const VectorPath::Polygon& polygon : path.polygons) {
        addPolygon(cairo, polygon);
    }
    for (const VectorPath::Ellipse& ellipse : path.ellipses) {
        addEllipse(cairo, ellipse.bounds);
    }
    cairo_set_matrix(cairo, &saved);
}

void setRoundedRectangle(cairo_t* cairo, const Rect& rect, double radius) {
    const double r = std::clamp(radius, 0.0, std::min(std::abs(rect.width), std::abs(rect.height)) / 2);
    constexpr double quarter = std::numbers::pi / 2;
    cairo_new_path(cairo);
    cairo_arc(cairo, rect.maxX() - r, rect.minY() + r, r, -quarter, 0);
    cairo_arc(cairo, rect.maxX() - r, rect.maxY() - r, r, 0, quarter);
    cairo_arc(cairo, rect.minX() + r, rect.maxY() - r, r, quarter, 2 * quarter);
    cairo_arc(cairo, rect.minX() + r, rect.minY() + r, r, 2 * quarter, 3 * quarter);
    cairo_close_path(cairo);
}

void strokeCurrentPath(Raster::Context& context, double lineWidth, const Color& color) {
    context.setColor(color);
    cairo_set_line_width(context.cairo, lineWidth);
    cairo_stroke(context.cairo);
}

void fillCurrentPath(Raster::Context& context, const Color& color) {
    context.setColor(color);
    cairo_fill(context.cairo);
}

} // namespace

Raster::Context::Context(PixelSize pixelSize, YAxis axis) : size(pixelSize), yAxis(axis) {
    surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size.width, size.height);
    cairo = cairo_create(surface);
    if (cairo_status(cairo) != CAIRO_STATUS_SUCCESS) {
        cairo_destroy(cairo);
        cairo_surface_destroy(surface);
        throw std::bad_alloc();
    }
    cairo_set_antialias(cairo, CAIRO_ANTIALIAS_BEST);
    cairo_set_fill_rule(cairo, CAIRO_FILL_RULE_WINDING);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_tolerance(cairo, 0.05);
    if (yAxis == YAxis::up) {
        cairo_translate(cairo, 0, size.height);
        cairo_scale(cairo, 1, -1);
    }
}

Raster::Context::~Context() {
    cairo_destroy(cairo);
    cairo_surface_destroy(surface);
}

Raster::Raster(PixelSize size, YAxis yAxis) {
    if (std::min(size.width, size.height) < 1 || std::max(size.width, size.height) > largestSide) {
        throw std::invalid_argument("A raster's sides are 1 to 16384 pixels.");
    }
    context_ = std::make_unique<Context>(size, yAxis);
}

Raster::~Raster() = default;
Raster::Raster(Raster&&) noexcept = default;
Raster& Raster::operator=(Raster&&) noexcept = default;

PixelSize Raster::size() const {
    return context_->size;
}

void Raster::fill(const VectorPath& path, const Color& color, const AffineTransform& transform) {
    if (isFinite(path, transform)) {
        setPath(context_->cairo, path, transform);
        fillCurrentPath(*context_, color);
    }
}

void Raster::stroke(const VectorPath& path, double lineWidth, const Color& color,
                    const AffineTransform& transform) {
    if (isFinite(path, transform) && std::isfinite(lineWidth) && lineWidth > 0) {
        setPath(context_->cairo, path, transform);
        strokeCurrentPath(*context_, lineWidth, color);
    }
}

void Raster::fillCircle(Vec2 center, double radius, const Color& color) {
    VectorPath path;
    path.ellipses.push_back({Rect{center.x - radius, center.y - radius, 2 * radius, 2 * radius}});
    fill(path, color);
}

void Raster::strokeCircle(Vec2 center, double radius, double lineWidth, const Color& color) {
    VectorPath path;
    path.ellipses.push_back({Rect{center.x - radius, center.y - radius, 2 * radius, 2 * radius}});
    stroke(path, lineWidth, color);
}

void Raster::fillRoundedRectangle(const Rect& rect, double radius, const Color& color) {
    if (!rect.isEmpty() && areFinite({rect.x, rect.y, rect.width, rect.height, radius})) {
        setRoundedRectangle(context_->cairo, rect, radius);
        fillCurrentPath(*context_, color);
    }
}

void Raster::strokeRoundedRectangle(const Rect& rect, double radius, double lineWidth, const Color& color) {
    if (!rect.isEmpty() && areFinite({rect.x, rect.y, rect.width, rect.height, radius, lineWidth}) &&
        lineWidth > 0) {
        setRoundedRectangle(context_->cairo, rect, radius);
        strokeCurrentPath(*context_, lineWidth, color);
    }
}

PixelBuffer Raster::pixels() const {
    cairo_surface_flush(context_->surface);
    const unsigned char* data = cairo_image_surface_get_data(context_->surface);
    const int stride = cairo_image_surface_get_stride(context_->surface);
    PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, context_->size);
    for (int y = 0; y < context_->size.height; ++y) {
        std::memcpy(result.row(0, y), data + std::ptrdiff_t(stride) * y,
                    std::size_t(context_->size.width) * 4);
    }
    return result;
}

} // namespace tavrin
