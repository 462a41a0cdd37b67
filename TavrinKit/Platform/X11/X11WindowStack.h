#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin {

class X11Connection;

/// The children of the root window in their order, followed by events alone: once it is made, a window that
/// is moved about costs no request. One thread at a time.
class X11WindowStack {
public:
    struct Window {
        std::uint32_t window = 0;
        X11Rect area; ///< of the root window, with the X border
        int border = 0;
        bool isMapped = false;
        bool isInputOnly = false; ///< has no picture; known once it is mapped
    };
    /// What an event has done to a window. An area is empty when it was or is hidden.
    struct Change {
        std::uint32_t window = 0;
        X11Rect before;
        X11Rect now;
        bool isResizedOrShown = false; ///< the server keeps its picture in other memory now
        /// Another window was put into it, perhaps by a window manager.
        bool hasNewContents = false;
        bool isGone = false;
    };

    /// Selects the root window's structure and substructure events for the connection.
    /// @param connection  outlives the object
    /// @throws X11Error serverGone
    explicit X11WindowStack(const X11Connection& connection);

    /// Takes in what the server has sent. @return nothing when that was about something else, or is known
    [[nodiscard]] std::optional<Change> handle(const xcb_generic_event_t& event);

    /// From the bottom to the top.
    [[nodiscard]] const std::vector<Window>& windows() const { return windows_; }

private:
    void load();
    [[nodiscard]] std::vector<Window>::iterator find(std::uint32_t window);
    [[nodiscard]] std::optional<Change> configure(const xcb_configure_notify_event_t& event);
    [[nodiscard]] std::optional<Change> show(std::uint32_t window, bool isMapped);
    [[nodiscard]] std::optional<Change> remove(std::uint32_t window, bool isGone);
    [[nodiscard]] std::optional<Change> reparent(const xcb_reparent_notify_event_t& event);
    void insertAbove(const Window& window, std::uint32_t sibling);

    const X11Connection& connection_;
    std::vector<Window> windows_;
    std::uint32_t loadedAt_ = 0; ///< the request of which `windows_` is the answer; older events are in it
};

} // namespace tavrin
