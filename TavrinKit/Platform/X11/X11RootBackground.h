#pragma once

#include <cstdint>

#include <xcb/render.h>

#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin {

class X11Connection;

/// What would be seen of the root window itself if no window lay on it. One thread at a time.
///
/// A window of ours that the server keeps off the screen, that no input reaches, and whose background is the
/// root window's shows it. A compositing manager would show that window, and draws the background itself:
/// there it is the picture that the desktop has left for others to know (_XROOTPMAP_ID), else black.
class X11RootBackground {
public:
    /// @param connection      outlives the object
    /// @param isManaged       whether a compositing manager draws the screen
    /// @throws X11Error serverGone
    X11RootBackground(const X11Connection& connection, bool isManaged);
    ~X11RootBackground();
    X11RootBackground(const X11RootBackground&) = delete;
    X11RootBackground& operator=(const X11RootBackground&) = delete;

    /// The window of ours; 0 when there is none.
    [[nodiscard]] std::uint32_t window() const { return window_; }

    /// Asks the server to draw a part of it.
    /// @param target  a picture whose top left lies at `origin` on the root window
    /// @param format  of pictures in the root window's depth
    void draw(const X11Rect& area, xcb_render_picture_t target, int originX, int originY,
              xcb_render_pictformat_t format);

private:
    void makeWindow();
    [[nodiscard]] std::uint32_t desktopPixmap() const;

    const X11Connection& connection_;
    std::uint32_t window_ = 0;
    std::uint32_t property_ = 0;
};

} // namespace tavrin
