#pragma once

#include <cstdint>
#include <string>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin::test {

/// A window of one colour that comes and goes.
class PlainWindow {
public:
    /// @param place  pixels of the root window, y downward
    /// @param color  0xRRGGBB
    PlainWindow(const std::string& display, const Rect& place, std::uint32_t color);

    [[nodiscard]] std::uint32_t id() const { return window_; }
    /// On top of the others.
    void show() const;
    void hide() const;

private:
    const X11Connection connection_;
    const std::uint32_t window_;
};

} // namespace tavrin::test
