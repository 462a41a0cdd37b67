#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavrin {

/// A point or a displacement.
struct Vec2 {
    double x = 0;
    double y = 0;

    friend bool operator==(const Vec2&, const Vec2&) = default;
    friend Vec2 operator+(Vec2 a, Vec2 b) { return {a.x + b.x, a.y + b.y}; }
    friend Vec2 operator-(Vec2 a, Vec2 b) { return {a.x - b.x, a.y - b.y}; }
    friend Vec2 operator*(Vec2 a, double k) { return {a.x * k, a.y * k}; }

    /// Both coordinates in 0...1: a fraction of a frame rather than pixels.
    [[nodiscard]] bool isNormalized() const { return x >= 0 && x <= 1 && y >= 0 && y <= 1; }
    [[nodiscard]] bool isFinite() const { return std::isfinite(x) && std::isfinite(y); }
};

struct Size2D {
    double width = 0;
    double height = 0;

    friend bool operator==(const Size2D&, const Size2D&) = default;

    /// width / height, or 0 when there is no height.
    [[nodiscard]] double aspectRatio() const { return height > 0 ? width / height : 0; }
};

/// A size in whole pixels.
struct PixelSize {
    int width = 0;
    int height = 0;

    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// An axis-aligned rectangle. Which way y grows is the space's own matter; `minY` is the smaller value.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    /// The rectangle that contains nothing: what an empty intersection gives.
    [[nodiscard]] static Rect null() {
        constexpr double inf = std::numeric_limits<double>::infinity();
        return {inf, inf, 0, 0};
    }
    /// The rectangle that contains the whole plane.
    [[nodiscard]] static Rect infinite() {
        constexpr double most = std::numeric_limits<double>::max();
        return {-most / 2, -most / 2, most, most};
    }

    friend bool operator==(const Rect&, const Rect&) = default;

    [[nodiscard]] double minX() const { return std::min(x, x + width); }
    [[nodiscard]] double minY() const { return std::min(y, y + height); }
    [[nodiscard]] double maxX() const { return std::max(x, x + width); }
    [[nodiscard]] double maxY() const { return std::max(y, y + height); }
    [[nodiscard]] double midX() const { return x + width / 2; }
    [[nodiscard]] double midY() const { return y + height / 2; }
    [[nodiscard]] Vec2 origin() const { return {x, y}; }
    [[nodiscard]] Vec2 mid() const { return {midX(), midY()}; }
    [[nodiscard]] Size2D size() const { return {width, height}; }

    [[nodiscard]] bool isNull() const { return std::isinf(x) || std::isinf(y); }
    [[nodiscard]] bool isInfinite() const { return width >= infinite().width && height >= infinite().height; }
    [[nodiscard]] bool isEmpty() const { return isNull() || width == 0 || height == 0; }

    /// The same rectangle with a positive width and height.
    [[nodiscard]] Rect standardized() const {
        return isNull() ? *this : Rect{minX(), minY(), std::abs(width), std::abs(height)};
    }
    /// Moves every side inward by (dx, dy); null when nothing is left.
    [[nodiscard]] Rect inset(double dx, double dy) const {
        const Rect result{minX() + dx, minY() + dy, std::abs(width) - 2 * dx, std::abs(height) - 2 * dy};
        return result.width < 0 || result.height < 0 ? null() : result;
    }
    [[nodiscard]] Rect translated(double dx, double dy) const { return {x + dx, y + dy, width, height}; }
    [[nodiscard]] Rect intersection(const Rect& other) const {
        if (isNull() || other.isNull()) {
            return null();
        }
        if (isInfinite()) {
            return other;
        }
        if (other.isInfinite()) {
            return *this;
        }
        const double left = std::max(minX(), other.minX());
        const double bottom = std::max(minY(), other.minY());
        const double right = std::min(maxX(), other.maxX());
        const double top = std::min(maxY(), other.maxY());
        return right < left || top < bottom ? null() : Rect{left, bottom, right - left, top - bottom};
    }
    [[nodiscard]] Rect united(const Rect& other) const {
        if (isNull() || other.isInfinite()) {
            return other;
        }
        if (other.isNull() || isInfinite()) {
            return *this;
        }
        const double left = std::min(minX(), other.minX());
        const double bottom = std::min(minY(), other.minY());
        return {left, bottom, std::max(maxX(), other.maxX()) - left, std::max(maxY(), other.maxY()) - bottom};
    }
    [[nodiscard]] bool contains(Vec2 p) const {
        return !isNull() && p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY();
    }
    [[nodiscard]] bool contains(const Rect& other) const {
        return isInfinite() || (!isNull() && !other.isNull() && other.minX() >= minX() &&
                                other.minY() >= minY() && other.maxX() <= maxX() && other.maxY() <= maxY());
    }
};

/// x' = a x + c y + tx,  y' = b x + d y + ty
struct AffineTransform {
    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

    friend bool operator==(const AffineTransform&, const AffineTransform&) = default;

    [[nodiscard]] static AffineTransform translation(double x, double y) { return {1, 0, 0, 1, x, y}; }
    [[nodiscard]] static AffineTransform scale(double x, double y) { return {x, 0, 0, y, 0, 0}; }

    /// First this one, then `next`.
    [[nodiscard]] AffineTransform then(const AffineTransform& next) const {
        return {a * next.a + b * next.c,
                a * next.b + b * next.d,
                c * next.a + d * next.c,
                c * next.b + d * next.d,
                tx * next.a + ty * next.c + next.tx,
                tx * next.b + ty * next.d + next.ty};
    }
    [[nodiscard]] double determinant() const { return a * d - b * c; }
    [[nodiscard]] bool isAxisAligned() const { return b == 0 && c == 0; }
    [[nodiscard]] Vec2 apply(Vec2 p) const { return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty}; }
    /// The bounding box of the transformed rectangle.
    [[nodiscard]] Rect apply(const Rect& r) const {
        if (r.isNull() || r.isInfinite()) {
            return r;
        }
        const Vec2 p = apply(Vec2{r.minX(), r.minY()});
        const Vec2 q = apply(Vec2{r.maxX(), r.minY()});
        const Vec2 s = apply(Vec2{r.minX(), r.maxY()});
        const Vec2 t = apply(Vec2{r.maxX(), r.maxY()});
        const double left = std::min({p.x, q.x, s.x, t.x});
        const double bottom = std::min({p.y, q.y, s.y, t.y});
        return {left, bottom, std::max({p.x, q.x, s.x, t.x}) - left, std::max({p.y, q.y, s.y, t.y}) - bottom};
    }
};

} // namespace tavrin
