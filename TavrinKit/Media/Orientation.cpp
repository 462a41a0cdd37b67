#include "TavrinKit/Media/Orientation.h"

#include <array>
#include <cmath>
#include <cstring>

namespace tavrin {

Orientation orientationOf(const std::uint8_t* data, std::size_t size) {
    std::array<std::int32_t, 9> matrix{};
    if (data == nullptr || size < sizeof matrix) {
        return {};
    }
    std::memcpy(matrix.data(), data, sizeof matrix);
    // x' = a x + c y,  y' = b x + d y
    const double a = matrix[0];
    const double b = matrix[1];
    const double c = matrix[3];
    const double d = matrix[4];
    if (std::abs(a) + std::abs(d) >= std::abs(b) + std::abs(c)) {
        return {false, a < 0, d < 0};
    }
    return {true, c < 0, b < 0};
}

Orientation orientationOfExif(int exif) {
    constexpr std::array<Orientation, 8> orientations{{{},
                                                       {false, true, false},
                                                       {false, true, true},
                                                       {false, false, true},
                                                       {true, false, false},
                                                       {true, true, false},
                                                       {true, true, true},
                                                       {true, false, true}}};
    return exif >= 1 && exif <= 8 ? orientations[std::size_t(exif - 1)] : Orientation{};
}

PixelBuffer oriented(const PixelBuffer& picture, const Orientation& orientation) {
    if (orientation.isUpright()) {
        return picture;
    }
    const PixelSize from = picture.size();
    const PixelSize to = orientation.transposed ? PixelSize{from.height, from.width} : from;
    const PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, to);
    for (int y = 0; y < to.height; ++y) {
        const int shownY = orientation.flippedY ? to.height - 1 - y : y;
        std::uint8_t* out = result.row(0, y);
        for (int x = 0; x < to.width; ++x, out += 4) {
            const int shownX = orientation.flippedX ? to.width - 1 - x : x;
            const std::uint8_t* in = orientation.transposed
                                         ? picture.row(0, shownX) + std::ptrdiff_t(4) * shownY
                                         : picture.row(0, shownY) + std::ptrdiff_t(4) * shownX;
            std::memcpy(out, in, 4);
        }
    }
    return result;
}

} // namespace tavrin
