#pragma once

#include <cstdint>
#include <vector>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin {

class X11Connection;

/// The picture of a child of the root window as the server keeps it aside: whole, whatever lies over the
/// window and however far it is off the screen.
///
/// While the object lives the window is redirected: the server draws it into memory of its own and from
/// there onto the screen, which the user doesn't notice. Several objects and programs may redirect one
/// window. Parts that were covered until then show something else until the window's owner has painted them,
/// as the server asks it to.
///
/// The memory is another one after the window was resized, or hidden and shown again. Events of the
/// connection say so: each is to be given to `handle`. One thread at a time.
class X11WindowPixmap {
public:
    /// Redirects the window, selects its structure and property events for the connection, and asks for its
    /// damage. A window that is gone makes an object for which `isGone`.
    /// @param connection  outlives the object
    /// @throws X11Error extensionMissing, serverGone
    X11WindowPixmap(const X11Connection& connection, std::uint32_t topLevel);
    ~X11WindowPixmap();
    X11WindowPixmap(const X11WindowPixmap&) = delete;
    X11WindowPixmap& operator=(const X11WindowPixmap&) = delete;

    [[nodiscard]] std::uint32_t window() const { return window_; }

    /// Takes in what the server has sent. @return whether it was about this window or its damage
    bool handle(const xcb_generic_event_t& event);

    // As of the last event that was handled.
    [[nodiscard]] bool isGone() const { return isGone_; }
    /// Of the root window, with the X border.
    [[nodiscard]] const X11Rect& area() const { return area_; }

    /// The window's pixmap, named anew when it has become another one. While the window is hidden that is
    /// the last one, which shows what was seen last.
    /// @return 0 when there has been none yet, or the window is gone
    /// @throws X11Error serverGone, unsuitablePixels
    [[nodiscard]] std::uint32_t pixmap();
    /// Of the latest `pixmap`, whose top left lies at the top left of `area`. May differ from the size of
    /// `area` for a moment, when an event is still under way.
    [[nodiscard]] PixelSize pixmapSize() const { return size_; }
    /// Of the latest `pixmap`: 24, or 32 for one with alpha.
    [[nodiscard]] int depth() const { return depth_; }

    /// Whether something may have been painted since the last `takeDamage`.
    [[nodiscard]] bool isDamaged() const { return isDamaged_ || isAllDamaged_; }
    /// What was painted since the last call, in the coordinates of `pixmap`; all of it when that is another
    /// one than at the last call. Costs a round trip when `isDamaged`. Call after `pixmap`, before reading
    /// from it.
    /// @throws X11Error serverGone
    [[nodiscard]] std::vector<X11Rect> takeDamage();

private:
    void follow(const X11Rect& outer, int border);
    void name();
    void freePixmap();

    const X11Connection& connection_;
    const std::uint32_t window_;
    std::uint8_t damageEvent_ = 0;
    std::uint32_t damageID_ = 0;
    std::uint32_t damagedParts_ = 0; ///< a region of the server's

    X11Rect area_;
    int border_ = 0;
    std::uint32_t pixmap_ = 0;
    PixelSize size_;
    int depth_ = 0;
    bool isGone_ = false;
    bool isMapped_ = false;
    bool isNameStale_ = true;
    bool isDamaged_ = false;
    bool isAllDamaged_ = true;
};

} // namespace tavrin
