#pragma once

#include <array>
#include <string>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Compositing/FrameCompositor.h"
#include "TavrinKit/Imaging/Image.h"

namespace tavrin::test {

/// A picture whose red grows from left to right and whose green grows upward, 0 to 255: colours tell places.
[[nodiscard]] Image placeColouredPicture(PixelSize size);

/// A PNG file's bytes, of the lower left part of an image.
[[nodiscard]] std::string pngOf(const Image& image, PixelSize size);

/// A part of an image as the renderer draws it; whole pixels.
[[nodiscard]] PixelBuffer rendered(const Image& image, const Rect& rect);

/// The stored r, g, b and alpha of a bgra8 pixel, 0...255.
[[nodiscard]] std::array<int, 4> pixel(const PixelBuffer& picture, int x, int yUpward);

[[nodiscard]] std::array<int, 4> pixel(const Image& image, double x, double yUpward);

[[nodiscard]] bool areEqual(const PixelBuffer& a, const PixelBuffer& b);

} // namespace tavrin::test
