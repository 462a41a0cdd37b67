#include "TavrinKit/Platform/X11/X11LayoutEvents.h"

#include <xcb/randr.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Event.h"

namespace tavrin {

X11LayoutEvents::X11LayoutEvents(const X11Connection& connection, const std::string& purpose)
    : connection_(connection), firstEvent_(connection.requireRandR(purpose)) {
    xcb_connection_t* xcb = connection.xcb();
    xcb_randr_select_input(xcb, connection.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    // Monitors that are set without their outputs changing are told as a change of the root window.
    const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(xcb, connection.root(), XCB_CW_EVENT_MASK, &structure);
}

bool X11LayoutEvents::include(const xcb_generic_event_t& event) const {
    const int type = typeOf(event);
    return type == firstEvent_ + XCB_RANDR_NOTIFY || type == firstEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
           (type == XCB_CONFIGURE_NOTIFY &&
            eventAs<xcb_configure_notify_event_t>(event).window == connection_.root());
}

} // namespace tavrin
