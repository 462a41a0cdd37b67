#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <unordered_map>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Platform/X11/X11WindowOwner.h"

namespace tavrin {

class X11Connection;

/// Which children of the root window belong to excluded applications.
///
/// A window belongs to the process that made it and to the one that it names, to the application that its
/// class or desktop file says, and to that of the window that it is a dialog or a menu of. What a window
/// manager has put around a window belongs to the window's application. One thread at a time.
class X11ExcludedWindows {
public:
    /// @param connection  outlives the object
    /// @throws X11Error serverGone
    X11ExcludedWindows(const X11Connection& connection, CaptureApplicationExclusionRule rule,
                       std::shared_ptr<const DesktopEntryIndex> entries);

    /// Finds out whose those windows are of which that isn't known yet.
    /// @throws X11Error serverGone
    void learn(const std::vector<std::uint32_t>& topLevels);

    [[nodiscard]] bool isKnown(std::uint32_t topLevel) const { return known_.contains(topLevel); }
    /// False for an unknown one.
    [[nodiscard]] bool contains(std::uint32_t topLevel) const;
    void forget(std::uint32_t topLevel) { known_.erase(topLevel); }
    /// A window of our own that nobody sees is no excluded one.
    void ignore(std::uint32_t topLevel) { known_[topLevel] = false; }

private:
    [[nodiscard]] bool isNamed(const X11WindowOwner& owner) const;

    CaptureApplicationExclusionRule rule_; ///< with the processes that turned out to be such applications
    X11WindowOwners owners_;
    std::unordered_map<std::uint32_t, bool> known_;
};

} // namespace tavrin
