#pragma once

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin {

/// While it lives the server works for this connection only: what is asked meanwhile is all of one moment.
/// Every other program stands still, so only for a handful of requests.
class X11ServerGrab {
public:
    /// @param connection  outlives the object
    explicit X11ServerGrab(const X11Connection& connection) : connection_(connection) {
        xcb_grab_server(connection_.xcb());
    }
    ~X11ServerGrab() {
        xcb_ungrab_server(connection_.xcb());
        connection_.flush();
    }
    X11ServerGrab(const X11ServerGrab&) = delete;
    X11ServerGrab& operator=(const X11ServerGrab&) = delete;

private:
    const X11Connection& connection_;
};

} // namespace tavrin
