#pragma once

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// Where the output's pixels lie in the frame that is being composed.
///
/// A bitmap drawn on this grid goes into the output pixel by pixel, so that text stays crisp however the
/// frame is scaled at the end. A value; any thread.
struct PixelGrid {
    Vec2 origin{0, 0}; ///< where a corner of pixels lies, in the frame
    Vec2 scale{1, 1};  ///< output pixels to a pixel of the frame, 1/16...4 on each axis

    /// The grid for a frame of this extent, of which `renderToOutput` makes the output rectangle.
    [[nodiscard]] static PixelGrid of(const Rect& extent, const Rect& output);

    /// The smallest rectangle of whole pixels around this one.
    [[nodiscard]] Rect aligned(const Rect& rect) const;

    /// The same pixels, seen from a space that a uniform scale and a translation place into the frame.
    [[nodiscard]] PixelGrid within(double placedScale, Vec2 placedOrigin) const;

    /// A raster on the grid, around the rectangle.
    /// @throws std::invalid_argument for a rectangle that is too large or not finite
    [[nodiscard]] Raster raster(const Rect& rect) const;

    /// The image as a bitmap on the grid: drawn once, and cheap from then on.
    /// @param image  at most as large as a raster; its extent is finite
    [[nodiscard]] Image drawn(const Image& image) const;

    friend bool operator==(const PixelGrid&, const PixelGrid&) = default;
};

} // namespace tavrin
