#pragma once

#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// A rectangle of whole pixels, rows downward.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// Converts a part of a BGRX picture to 4:2:0, BT.709 limited range, in one pass on the calling thread.
///
/// Chroma is the mean of two rows and of a (1 2 1)/4 window around the left column of each pair: sited left,
/// as H.264 has it by default. The fourth byte is ignored.
///
/// @param source  bgra8
/// @param target  i420 of the same size; only the area is written
/// @param area    widened to even coordinates; held to the picture
void convertBGRXToI420(const PixelBuffer& source, const PixelBuffer& target, PixelRect area);

/// The same with plain code: what the vectorised kernel must equal within 1.
void convertBGRXToI420Reference(const PixelBuffer& source, const PixelBuffer& target, PixelRect area);

/// Converts a whole picture back: for previews, screenshots and tests.
/// @param source  i420
/// @param target  bgra8 of the same size; alpha becomes 255
void convertI420ToBGRA(const PixelBuffer& source, const PixelBuffer& target);

} // namespace tavrin
