#pragma once

#include <cstdint>
#include <string>

#include <xcb/xcb.h>

namespace tavrin {

class X11Connection;

/// How a connection learns that the monitors of its server lie differently: time for a new X11DisplayLayout.
class X11LayoutEvents {
public:
    /// Has the connection told of changes. Sets what is selected on the root window, where other events can
    /// be selected afterwards, together with its structure's.
    /// @param connection  outlives the object
    /// @param purpose     for the error, as in "recording the screen"
    /// @throws X11Error extensionMissing, serverGone
    X11LayoutEvents(const X11Connection& connection, const std::string& purpose);

    /// Whether the event tells of a change.
    [[nodiscard]] bool include(const xcb_generic_event_t& event) const;

private:
    const X11Connection& connection_;
    std::uint8_t firstEvent_;
};

} // namespace tavrin
