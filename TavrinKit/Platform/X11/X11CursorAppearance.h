#pragma once

#include "TavrinKit/Platform/X11/X11CursorImage.h"
#include "TavrinKit/Project/CursorAppearance.h"

namespace tavrin {

/// The pointer's picture in the form that a timeline keeps.
///
/// The identifier is the SHA-256 of its pixels, size and hot spot, in lower-case hexadecimal. The hot spot is
/// counted from the lower left corner, as all places are: a pointer that points with its top left pixel has
/// it at (0, height).
[[nodiscard]] CursorAppearance cursorAppearance(const X11CursorImage& image);

} // namespace tavrin
