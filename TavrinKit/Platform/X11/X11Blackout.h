#pragma once

#include <cstdint>
#include <vector>

#include <xcb/xfixes.h>

#include "TavrinKit/Platform/X11/X11ExcludedWindows.h"
#include "TavrinKit/Platform/X11/X11WindowStack.h"

namespace tavrin {

class X11Connection;

/// Where excluded windows are seen it blackens the screen, as long as it lives, for the moment in which other
/// windows' pictures are first kept: the server begins such a picture with what the screen shows there. Only
/// within an X11ServerGrab: nobody sees it then, as nothing else is served meanwhile.
class X11Blackout {
public:
    /// @param connection  outlives the object
    /// @param windows     all of the screen, from the bottom to the top
    X11Blackout(const X11Connection& connection, const std::vector<X11WindowStack::Window>& windows,
                const X11ExcludedWindows& excluded);
    ~X11Blackout(); ///< puts back what was seen
    X11Blackout(const X11Blackout&) = delete;
    X11Blackout& operator=(const X11Blackout&) = delete;

private:
    struct Saved {
        X11Rect area;
        std::uint32_t pixmap;
        xcb_xfixes_region_t seen; ///< of the root window
    };

    void save(const X11WindowStack::Window& window, const std::vector<X11WindowStack::Window>& above);
    [[nodiscard]] xcb_xfixes_region_t shapeOf(const X11WindowStack::Window& window) const;

    const X11Connection& connection_;
    std::uint32_t context_;
    std::vector<Saved> saved_;
};

} // namespace tavrin
