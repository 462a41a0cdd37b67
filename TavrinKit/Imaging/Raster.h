#pragma once

#include <memory>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Support/PixelBuffer.h"
#include "TavrinKit/Support/VectorPath.h"

namespace tavrin {

/// A small bitmap to draw shapes and text on, for what the operations of an Image cannot say: bgra8,
/// premultiplied, antialiased, transparent at first.
///
/// Coordinates are pixels, or those of a larger space that the bitmap covers a part of. Everything is drawn
/// source-over, in the order of the calls; shapes without area and numbers that are not finite draw nothing.
/// One thread at a time, different rasters on any threads.
class Raster {
public:
    enum class YAxis {
        up,   ///< the origin is the lower left corner
        down, ///< the origin is the upper left corner
    };

    /// @throws std::invalid_argument for a side below 1 or above 16384
    explicit Raster(PixelSize size, YAxis yAxis = YAxis::up);
    /// A raster over a rectangle of a larger space, y upward, in whose coordinates everything is drawn.
    /// @param scale  pixels of the bitmap to one unit of the space, on each axis; its size is rounded up
    /// @throws std::invalid_argument as above, and for numbers that are not finite
    Raster(const Rect& bounds, Vec2 scale);
    ~Raster();
    Raster(Raster&&) noexcept;
    Raster& operator=(Raster&&) noexcept;

    [[nodiscard]] PixelSize size() const;

    /// Fills by the winding rule.
    void fill(const VectorPath& path, const Color& color, const AffineTransform& transform = {});
    /// Strokes with round joins and caps.
    /// @param lineWidth  pixels; the transform moves the path and not the pen
    void stroke(const VectorPath& path, double lineWidth, const Color& color,
                const AffineTransform& transform = {});

    void fillCircle(Vec2 center, double radius, const Color& color);
    void strokeCircle(Vec2 center, double radius, double lineWidth, const Color& color);

    /// @param radius  of the corners, held to half of the shorter side
    void fillRoundedRectangle(const Rect& rect, double radius, const Color& color);
    void strokeRoundedRectangle(const Rect& rect, double radius, double lineWidth, const Color& color);
    /// @param radii  of the corners' ellipses, each held to half of its side
    void fillRoundedRectangle(const Rect& rect, Size2D radii, const Color& color);
    void strokeRoundedRectangle(const Rect& rect, Size2D radii, double lineWidth, const Color& color);

    /// With round caps.
    void strokeLine(Vec2 from, Vec2 to, double lineWidth, const Color& color);

    /// What has been drawn so far, in memory of its own.
    [[nodiscard]] PixelBuffer pixels() const;
    /// The same, with the lower left corner at the origin, or where it lies in the larger space.
    [[nodiscard]] Image image() const;

    /// For the drawing code of this folder.
    struct Context;
    [[nodiscard]] Context& context() { return *context_; }

private:
    std::unique_ptr<Context> context_;
    AffineTransform placement_; ///< from pixels, y upward, to the larger space
};

} // namespace tavrin
