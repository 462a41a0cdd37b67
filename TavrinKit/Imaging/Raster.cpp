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

/// How far a drawn curve may lie from the true one, in pixels.
constexpr double tolerance = 0.05;

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

PixelSize sizeOf(const Rect& bounds, Vec2 scale) {
    const auto pixels = [](double length) {
        const double count = std::ceil(std::abs(length) - 1e-6);
        return std::isfinite(count) && count <= largestSide ? std::max(int(count), 1) : 0;
    };
    const bool isUsable = areFinite({bounds.x, bounds.y}) && scale.x > 0 && scale.y > 0;
    return isUsable ? PixelSize{pixels(bounds.width * scale.x), pixels(bounds.height * scale.y)}
                    : PixelSize{};
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

Size2D heldToHalf(const Rect& rect, Size2D radii) {
    return {std::clamp(radii.width, 0.0, std::abs(rect.width) / 2),
            std::clamp(radii.height, 0.0, std::abs(rect.height) / 2)};
}

Size2D circular(const Rect& rect, double radius) {
    const double held = std::min(radius, std::min(std::abs(rect.width), std::abs(rect.height)) / 2);
    return {held, held};
}

void addCorner(cairo_t* cairo, Vec2 center, Size2D radii, int quarter) {
    constexpr double quarterTurn = fullTurn / 4;
    if (radii.width <= 0 || radii.height <= 0) {
        cairo_line_to(cairo, center.x, center.y);
        return;
    }
    cairo_matrix_t saved;
    cairo_get_matrix(cairo, &saved);
    cairo_translate(cairo, center.x, center.y);
    cairo_scale(cairo, radii.width, radii.height);
    cairo_arc(cairo, 0, 0, 1, (quarter - 1) * quarterTurn, quarter * quarterTurn);
    cairo_set_matrix(cairo, &saved);
}

void setRoundedRectangle(cairo_t* cairo, const Rect& rect, Size2D radii) {
    const Size2D r = heldToHalf(rect, radii);
    cairo_new_path(cairo);
    addCorner(cairo, {rect.maxX() - r.width, rect.minY() + r.height}, r, 0);
    addCorner(cairo, {rect.maxX() - r.width, rect.maxY() - r.height}, r, 1);
    addCorner(cairo, {rect.minX() + r.width, rect.maxY() - r.height}, r, 2);
    addCorner(cairo, {rect.minX() + r.width, rect.minY() + r.height}, r, 3);
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
    cairo_set_tolerance(cairo, tolerance);
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

Raster::Raster(const Rect& bounds, Vec2 scale) : Raster(sizeOf(bounds, scale)) {
    placement_ = {1 / scale.x, 0, 0, 1 / scale.y, bounds.minX(), bounds.minY()};
    cairo_scale(context_->cairo, scale.x, scale.y);
    cairo_translate(context_->cairo, -bounds.minX(), -bounds.minY());
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
    fillRoundedRectangle(rect, circular(rect, radius), color);
}

void Raster::strokeRoundedRectangle(const Rect& rect, double radius, double lineWidth, const Color& color) {
    strokeRoundedRectangle(rect, circular(rect, radius), lineWidth, color);
}

void Raster::fillRoundedRectangle(const Rect& rect, Size2D radii, const Color& color) {
    if (!rect.isEmpty() && areFinite({rect.x, rect.y, rect.width, rect.height, radii.width, radii.height})) {
        setRoundedRectangle(context_->cairo, rect, radii);
        fillCurrentPath(*context_, color);
    }
}

void Raster::strokeRoundedRectangle(const Rect& rect, Size2D radii, double lineWidth, const Color& color) {
    if (!rect.isEmpty() && lineWidth > 0 &&
        areFinite({rect.x, rect.y, rect.width, rect.height, radii.width, radii.height, lineWidth})) {
        setRoundedRectangle(context_->cairo, rect, radii);
        strokeCurrentPath(*context_, lineWidth, color);
    }
}

void Raster::strokeLine(Vec2 from, Vec2 to, double lineWidth, const Color& color) {
    if (from.isFinite() && to.isFinite() && std::isfinite(lineWidth) && lineWidth > 0) {
        cairo_new_path(context_->cairo);
        cairo_move_to(context_->cairo, from.x, from.y);
        cairo_line_to(context_->cairo, to.x, to.y);
        strokeCurrentPath(*context_, lineWidth, color);
    }
}

Image Raster::image() const {
    return Image::pixels(pixels()).transformed(placement_);
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
