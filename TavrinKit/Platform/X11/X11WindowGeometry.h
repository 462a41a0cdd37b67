#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin {

class X11Connection;

/// Where a window of an application lies, and within which window of the window manager.
///
/// A snapshot: it is true of the moment at which the server answered.
struct X11WindowGeometry {
    std::uint32_t window = 0;
    /// The child of the root window that holds it: the window manager's frame, or the window itself.
    std::uint32_t topLevel = 0;
    /// What the user takes for the window, on the root window: with the decorations that the window manager
    /// says it has added (_NET_FRAME_EXTENTS), without the shadow that the application says it has drawn
    /// around itself (_GTK_FRAME_EXTENTS); never beyond `topLevelArea`.
    X11Rect frame;
    X11Rect client;           ///< the window itself on the root window, without its X border
    X11Rect topLevelArea;     ///< of the root window, with the X border: what a pixmap of it holds
    bool isViewable = false;  ///< it and all that it lies in are mapped; others may cover it
    bool isInputOnly = false; ///< has no picture
    bool isOverrideRedirect = false;

    friend bool operator==(const X11WindowGeometry&, const X11WindowGeometry&) = default;

    /// Asks for all windows at once, so that a long list costs a handful of round trips.
    /// @return one for each window, in their order; nothing for a window that is gone
    /// @throws X11Error serverGone
    [[nodiscard]] static std::vector<std::optional<X11WindowGeometry>>
    of(const X11Connection& connection, const std::vector<std::uint32_t>& windows);
    [[nodiscard]] static std::optional<X11WindowGeometry> of(const X11Connection& connection,
                                                             std::uint32_t window);
};

/// The children of the root window, from the bottom of the stack to its top.
/// @throws X11Error serverGone
[[nodiscard]] std::vector<std::uint32_t> topLevelWindows(const X11Connection& connection);

} // namespace tavrin
