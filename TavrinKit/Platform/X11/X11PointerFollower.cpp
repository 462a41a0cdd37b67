#include "TavrinKit/Platform/X11/X11PointerFollower.h"

#include <utility>

#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin {

X11PointerFollower::X11PointerFollower(const X11Connection& connection) : connection_(connection) {
    constexpr const char* purpose = "recording the pointer";
    fixesEvent_ = connection.requireFixes(purpose);
    inputOpcode_ = connection.requireInput2(purpose);
    xcb_connection_t* xcb = connection.xcb();
    xcb_xfixes_select_cursor_input(xcb, connection.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t events;
    } const mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
    xcb_input_xi_select_events(xcb, connection.root(), 1, &mask.head);
}

bool X11PointerFollower::handle(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7f;
    if (type == XCB_GE_GENERIC &&
        reinterpret_cast<const xcb_ge_generic_event_t&>(event).extension == inputOpcode_) {
        hasMoved_ = true;
        return true;
    }
    if (type == fixesEvent_ + XCB_XFIXES_CURSOR_NOTIFY) {
        hasCursorChanged_ = true;
        return true;
    }
    return false;
}

void X11PointerFollower::ask() {
    question_ = xcb_query_pointer(connection_.xcb(), connection_.root());
    hasMoved_ = false;
}

std::array<X11Rect, 2> X11PointerFollower::update() {
    const X11Owned<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(connection_.xcb(), question_, nullptr));
    connection_.throwIfBroken();
    if (!reply) {
        return {};
    }
    if (std::exchange(hasCursorChanged_, false)) {
        cursor_ = X11CursorImage::current(connection_);
    }
    State now;
    if (cursor_ && reply->same_screen != 0) {
        now = {cursor_->areaAt(reply->root_x, reply->root_y), reply->root_x, reply->root_y, cursor_->serial};
    }
    if (now == drawn_) {
        return {};
    }
    const State before = std::exchange(drawn_, now);
    return {before.area, now.area};
}

void X11PointerFollower::drawOver(const PixelBuffer& target, const X11Rect& area) const {
    if (cursor_ && !drawn_.area.isEmpty()) {
        cursor_->drawAt(drawn_.x, drawn_.y, target, area);
    }
}

} // namespace tavrin
