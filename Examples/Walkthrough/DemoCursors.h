#pragma once

#include <array>

#include <xcb/xcb.h>

#include "Examples/Walkthrough/DemoScene.h"
#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin::demo {

/// The pointer shapes of the demo, as cursors with alpha on an X server. One thread.
class DemoCursors {
public:
    /// @throws Error when the server has no RENDER extension with an ARGB format
    explicit DemoCursors(const X11Connection& connection);

    [[nodiscard]] xcb_cursor_t cursor(PointerShape shape) const { return cursors_[std::size_t(shape)]; }

private:
    std::array<xcb_cursor_t, 4> cursors_{};
};

} // namespace tavrin::demo
