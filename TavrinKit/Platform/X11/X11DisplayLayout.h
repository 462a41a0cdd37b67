#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

class X11Connection;

/// A rectangle of the root window: pixels, y downward from its top left.
struct X11Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const X11Rect&, const X11Rect&) = default;
    [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }
    [[nodiscard]] X11Rect intersection(const X11Rect& other) const;
    [[nodiscard]] X11Rect united(const X11Rect& other) const;
    [[nodiscard]] bool contains(const X11Rect& other) const;
    [[nodiscard]] std::int64_t area() const { return std::int64_t(width) * height; }
};

/// Where the monitors of a server lie on its root window, and the only place where that window's
/// coordinates become those of the rest of the program.
///
/// A value; a server whose monitors have changed has a new one.
class X11DisplayLayout {
public:
    struct Monitor {
        /// From the connector's name, so that a stored choice finds the same monitor after a restart.
        std::uint32_t displayID = 0;
        std::string name;
        X11Rect area;
        bool isMain = false;
    };

    /// No monitors; positions are turned over within nothing.
    X11DisplayLayout() = default;
    /// @param monitors  the one with `isMain` is the main display, else the first that lies at the root's
    ///                  origin, else the first
    explicit X11DisplayLayout(std::vector<Monitor> monitors);

    /// Asks the server: its RandR monitors, or the whole root window when it names none.
    /// @throws X11Error
    [[nodiscard]] static X11DisplayLayout of(const X11Connection& connection);

    [[nodiscard]] const std::vector<Monitor>& monitors() const { return monitors_; }
    /// Nothing when there is none of that number.
    [[nodiscard]] const Monitor* monitor(std::uint32_t displayID) const;
    [[nodiscard]] double mainDisplayHeight() const { return main_.height; }

    /// From the root window to the global space: y upward from the bottom left of the main display.
    [[nodiscard]] Vec2 globalPoint(double rootX, double rootY) const;
    /// As `globalPoint`, for an area.
    [[nodiscard]] Rect globalRect(const X11Rect& area) const;
    /// From the root window to a display's coordinates: y downward from the top left of the main display.
    [[nodiscard]] Rect displayFrame(const X11Rect& area) const;

private:
    std::vector<Monitor> monitors_;
    X11Rect main_;
};

} // namespace tavrin
