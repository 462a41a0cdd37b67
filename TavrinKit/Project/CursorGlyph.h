#pragma once

#include "TavrinKit/Project/CursorGlyphKind.h"
#include "TavrinKit/Support/VectorPath.h"

/// Fallback shapes for a cursor whose recorded image isn't available.
namespace tavrin::CursorGlyph {

/// The outlines of a kind, to be filled: origin at the top left, y downward, about 30 units tall.
[[nodiscard]] const VectorPath& path(CursorGlyphKind kind);

/// Whether the shape points with its top left tip; the others point with their centre.
[[nodiscard]] bool usesTopLeftTipHotspot(CursorGlyphKind kind);

} // namespace tavrin::CursorGlyph
