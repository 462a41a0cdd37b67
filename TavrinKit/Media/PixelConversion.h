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

/// What `convertBGRXToI420` writes for an area: widened to even coordinates, and by one pair of columns to
/// the right, whose chroma depends on the area's last column; held to the picture.
[[nodiscard]] PixelRect widenedForChroma(const PixelRect& area, PixelSize size);

/// Converts a part of a BGRX picture to 4:2:0, BT.709 limited range, in one pass on the calling thread.
///
/// Chroma is the mean of two rows and of a (1 2 1)/4 window around the left column of each pair: sited left,
/// as H.264 has it by default. At the picture's edges the outermost pixels stand in for what is missing. The
/// fourth byte is ignored.
///
/// Converting what changed, area by area, leaves the same target as converting the whole picture anew.
///
/// @param source  bgra8
/// @param target  i420 of the same size; only the area, as `widenedForChroma` makes it, is written
void convertBGRXToI420(const PixelBuffer& source, const PixelBuffer& target, PixelRect area);

/// The same with plain code: what the vectorised kernel must equal within 1.
void convertBGRXToI420Reference(const PixelBuffer& source, const PixelBuffer& target, PixelRect area);

} // namespace tavrin
