#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "TavrinKit/Support/DesktopEntryIndex.h"

namespace tavrin {

class X11Connection;

/// What is known of the application that a window belongs to.
struct X11WindowOwner {
    /// As the window says (_NET_WM_PID) and as the server knows it; 0 when unknown.
    std::int32_t processID = 0;
    std::int32_t connectedProcessID = 0;
    std::string bundleIdentifier;   ///< of the desktop file, else the class; empty when unknown
    std::string applicationName;    ///< as the user knows the application, else the class; empty when unknown
    std::uint32_t transientFor = 0; ///< the window that it is a dialog or a menu of; 0 when none
    std::uint32_t leader = 0;       ///< the application's leading window (WM_CLIENT_LEADER); 0 when none
};

/// Asks windows for their owners. One thread at a time.
class X11WindowOwners {
public:
    /// @param connection  outlives the object
    /// @throws X11Error
    X11WindowOwners(const X11Connection& connection, std::shared_ptr<const DesktopEntryIndex> entries);

    /// Asks for all windows at once. @return one for each window, in their order; of a window that is gone
    /// nothing is known
    /// @throws X11Error serverGone
    [[nodiscard]] std::vector<X11WindowOwner> of(const std::vector<std::uint32_t>& windows) const;

    /// For each child of the root window the application's window in it: the one that says so (WM_STATE) and
    /// lies in what a window manager has put around it, else the child itself.
    /// @throws X11Error serverGone
    [[nodiscard]] std::vector<std::uint32_t> clientsOf(const std::vector<std::uint32_t>& topLevels) const;

private:
    struct Atoms {
        std::uint32_t processID;
        std::uint32_t gtkApplication;
        std::uint32_t kdeDesktopFile;
        std::uint32_t leader;
        std::uint32_t state;
    };

    const X11Connection& connection_;
    std::shared_ptr<const DesktopEntryIndex> entries_;
    Atoms atoms_;
    bool knowsProcesses_ = false; ///< the server tells whose connection made a window
};

} // namespace tavrin
