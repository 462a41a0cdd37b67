#pragma once

#include <cstddef>
#include <cstdint>

#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// How stored pictures are turned to be shown: `transposed` first, then the flips, all in rows downward.
struct Orientation {
    bool transposed = false;
    bool flippedX = false; ///< of the picture as shown
    bool flippedY = false;

    [[nodiscard]] bool isUpright() const { return !transposed && !flippedX && !flippedY; }
};

/// Of a display matrix as FFmpeg attaches it, to the nearest quarter turn.
/// @param data  may be null: upright
/// @param size  bytes; with fewer than a matrix has, the picture is upright
[[nodiscard]] Orientation orientationOf(const std::uint8_t* data, std::size_t size);

/// @param exif  1...8, as Exif numbers the orientations; any other number is upright
[[nodiscard]] Orientation orientationOfExif(int exif);

/// @param picture  bgra8
/// @return the picture itself when it is upright
[[nodiscard]] PixelBuffer oriented(const PixelBuffer& picture, const Orientation& orientation);

} // namespace tavrin
