#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11CursorImage.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

class X11Connection;

/// Follows the pointer, which is no part of what the server gives as a picture, to draw it in.
///
/// One thread at a time.
class X11PointerFollower {
public:
    /// Selects the pointer's events for the connection.
    /// @param connection  outlives the object
    /// @throws X11Error extensionMissing
    explicit X11PointerFollower(const X11Connection& connection);

    /// Takes in what the server has sent. @return whether it was about the pointer
    bool handle(const xcb_generic_event_t& event);
    /// Whether it may have moved or changed since the last `update`.
    [[nodiscard]] bool hasNews() const { return hasMoved_ || hasCursorChanged_; }

    /// Asks where the pointer is; the answer is for `update`. Separate, so that other questions can share the
    /// round trip.
    void ask();
    /// The areas of the root window that it covered before and covers now: empty ones where it is as it was.
    /// @throws X11Error serverGone
    [[nodiscard]] std::array<X11Rect, 2> update();

    /// Where it is drawn, on the root window; empty while it can't be seen.
    [[nodiscard]] const X11Rect& area() const { return drawn_.area; }
    /// @param target  bgra8, of the size of `area`, a part of the root window
    void drawOver(const PixelBuffer& target, const X11Rect& area) const;

private:
    struct State {
        X11Rect area;
        int x = 0;
        int y = 0;
        std::uint32_t serial = 0;

        friend bool operator==(const State&, const State&) = default;
    };

    const X11Connection& connection_;
    std::uint8_t fixesEvent_ = 0;
    std::uint8_t inputOpcode_ = 0;
    xcb_query_pointer_cookie_t question_{};
    std::optional<X11CursorImage> cursor_;
    State drawn_;
    bool hasMoved_ = true;
    bool hasCursorChanged_ = true;
};

} // namespace tavrin
