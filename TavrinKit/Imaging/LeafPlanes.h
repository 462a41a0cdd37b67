#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "TavrinKit/Imaging/Lattice.h"
#include "TavrinKit/Imaging/ResampleTable.h"

namespace tavrin::imaging {

/// A drawn picture in floats: premultiplied r, g, b in 0...255 and alpha in 0...1.
struct FloatPicture {
    Rect region; ///< whole pixels
    int columns = 0;
    int rows = 0;
    std::vector<float> red, green, blue, alpha; ///< rows downward; colours empty when all is black
};

/// Samples of one channel of a leaf, as bytes or as floats.
struct SamplePlane {
    const std::uint8_t* bytes = nullptr;
    const float* floats = nullptr;
    std::ptrdiff_t stride = 0; ///< elements
    PlaneAxis x;
    PlaneAxis y;
};

/// A leaf's pixels in one basis.
struct LeafPlanes {
    std::array<SamplePlane, 3> color;
    std::optional<SamplePlane> alpha; ///< absent: opaque
    bool isYCbCr = false;             ///< the colours are Y', Cb and Cr although the basis is RGB
    std::vector<float> storage;
    PixelBuffer buffer; ///< kept alive while its bytes are pointed at
};

/// A 4:2:0 picture: its own planes, whatever the basis.
[[nodiscard]] LeafPlanes planesOf420(const PixelBuffer& buffer, Basis basis);

/// A premultiplied bitmap, converted.
[[nodiscard]] LeafPlanes planesOfBitmap(const PixelBuffer& buffer, Basis basis);

/// A picture drawn before, converted.
[[nodiscard]] LeafPlanes planesOfPicture(const FloatPicture& picture, Basis basis);

/// Y' of a video sample and its chroma to straight RGB of 0...255, in place.
void toRGB(float* y, float* cb, float* cr, int columns);

} // namespace tavrin::imaging
