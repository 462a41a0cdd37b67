#pragma once

#include "TavrinKit/Imaging/Image.h"

namespace tavrin {

/// Draws the ring between two circles over the image, its middle on `center`, within the image's extent.
///
/// A ring is at least half a pixel wide and drawn with a line of at least one. The bitmaps of the rings in
/// use are kept, within a small bound, so that a ring that doesn't change is the same picture in every frame.
/// Any thread.
/// @param inner, outer  radii in pixels
[[nodiscard]] Image overlayRing(const Image& image, Vec2 center, double inner, double outer,
                                const Color& color);

} // namespace tavrin
