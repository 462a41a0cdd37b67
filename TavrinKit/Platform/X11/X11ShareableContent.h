#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin {

class X11Connection;

/// Lists what an X server has to offer: its monitors, the windows of its applications, and those
/// applications.
///
/// Windows are those that the window manager names, or the children of the root window when there is no
/// window manager. What X calls the class of a window stands for the application's identifier. A window that
/// goes away while the list is made is left out.
class X11ShareableContent {
public:
    /// @param connection  outlives the object
    explicit X11ShareableContent(const X11Connection& connection);

    /// @throws X11Error
    [[nodiscard]] ShareableContent load(bool excludingDesktopWindows, bool onScreenWindowsOnly) const;

private:
    struct Atoms {
        std::uint32_t clientList;
        std::uint32_t name;
        std::uint32_t processID;
        std::uint32_t windowType;
        std::uint32_t desktopType;
        std::uint32_t utf8;
    };

    [[nodiscard]] std::vector<std::uint32_t> applicationWindows() const;
    [[nodiscard]] std::vector<char> property(std::uint32_t window, std::uint32_t name,
                                             std::uint32_t type) const;
    [[nodiscard]] std::vector<std::uint32_t> numbers(std::uint32_t window, std::uint32_t name,
                                                     std::uint32_t type) const;
    [[nodiscard]] std::optional<ShareableWindow> describe(std::uint32_t window,
                                                          const X11DisplayLayout& layout,
                                                          bool excludingDesktopWindows,
                                                          bool onScreenWindowsOnly) const;

    const X11Connection& connection_;
    Atoms atoms_;
};

} // namespace tavrin
