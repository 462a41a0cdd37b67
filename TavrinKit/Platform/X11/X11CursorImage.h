#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

class X11Connection;

/// The picture of the pointer.
struct X11CursorImage {
    int width = 0;
    int height = 0;
    int hotSpotX = 0;                  ///< from the left
    int hotSpotY = 0;                  ///< from the top
    std::uint32_t serial = 0;          ///< the server's number of this picture; another one has another
    std::vector<std::uint32_t> pixels; ///< ARGB, premultiplied, rows downward

    /// Asks the server. Nothing when it has no picture to show.
    /// @throws X11Error serverGone
    [[nodiscard]] static std::optional<X11CursorImage> current(const X11Connection& connection);

    /// Whether any of it can be seen.
    [[nodiscard]] bool isVisible() const;

    /// The part of the root window that it covers when it points at (x, y).
    [[nodiscard]] X11Rect areaAt(int x, int y) const { return {x - hotSpotX, y - hotSpotY, width, height}; }

    /// Draws it over a picture of a part of the root window.
    /// @param target  bgra8, of the size of `area`
    void drawAt(int x, int y, const PixelBuffer& target, const X11Rect& area) const;
};

} // namespace tavrin
