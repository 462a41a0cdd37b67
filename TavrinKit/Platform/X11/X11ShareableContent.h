#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Platform/X11/X11WindowOwner.h"
#include "TavrinKit/Support/DesktopEntryIndex.h"

namespace tavrin {

class X11Connection;

/// Lists what an X server has to offer: its monitors, the windows of its applications, and those
/// applications.
///
/// Windows are those that the window manager names, or without one those that lie on the root window. The
/// name of an application's desktop file is its identifier; where none is found it is what X calls the class
/// of a window. A window that goes away while the list is made is left out. All windows are asked at once,
/// so that the list costs some ten round trips, however long it is.
class X11ShareableContent {
public:
    /// @param connection  outlives the object
    /// @throws X11Error
    X11ShareableContent(const X11Connection& connection, std::shared_ptr<const DesktopEntryIndex> entries);

    /// @throws X11Error
    [[nodiscard]] ShareableContent load(bool excludingDesktopWindows, bool onScreenWindowsOnly) const;

private:
    struct Atoms {
        std::uint32_t stackedClients;
        std::uint32_t clients;
        std::uint32_t name;
        std::uint32_t windowType;
        std::uint32_t desktopType;
        std::uint32_t state;
        std::uint32_t hiddenState;
    };

    [[nodiscard]] std::vector<std::uint32_t> applicationWindows() const;
    [[nodiscard]] std::vector<ShareableWindow> describe(const std::vector<std::uint32_t>& windows,
                                                        const X11DisplayLayout& layout,
                                                        bool excludingDesktopWindows) const;

    const X11Connection& connection_;
    X11WindowOwners owners_;
    Atoms atoms_;
};

} // namespace tavrin
