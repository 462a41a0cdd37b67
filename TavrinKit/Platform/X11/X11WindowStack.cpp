#include "TavrinKit/Platform/X11/X11WindowStack.h"

#include <algorithm>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Event.h"
#include "TavrinKit/Platform/X11/X11ServerGrab.h"

namespace tavrin {
namespace {

X11Rect shown(const X11WindowStack::Window& window) {
    return window.isMapped ? window.area : X11Rect{};
}

X11Rect withBorder(int x, int y, int width, int height, int border) {
    return {x, y, width + 2 * border, height + 2 * border};
}

} // namespace

X11WindowStack::X11WindowStack(const X11Connection& connection) : connection_(connection) {
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.xcb(), connection.root(), XCB_CW_EVENT_MASK, &events);
    load();
}

void X11WindowStack::load() {
    xcb_connection_t* xcb = connection_.xcb();
    const X11ServerGrab standstill(connection_);
    const auto treeCookie = xcb_query_tree(xcb, connection_.root());
    loadedAt_ = treeCookie.sequence;
    const X11Owned<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(xcb, treeCookie, nullptr));
    windows_.clear();
    if (!tree) {
        connection_.throwIfBroken();
        return;
    }
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    std::vector<xcb_get_geometry_cookie_t> geometries;
    std::vector<xcb_get_window_attributes_cookie_t> attributes;
    for (int i = 0; i < count; ++i) {
        geometries.push_back(xcb_get_geometry(xcb, children[i]));
        attributes.push_back(xcb_get_window_attributes(xcb, children[i]));
    }
    for (int i = 0; i < count; ++i) {
        const auto index = std::size_t(i);
        const X11Owned<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(xcb, geometries[index], nullptr));
        const X11Owned<xcb_get_window_attributes_reply_t> state(
            xcb_get_window_attributes_reply(xcb, attributes[index], nullptr));
        if (geometry && state) {
            windows_.push_back({children[i],
                                withBorder(geometry->x, geometry->y, geometry->width, geometry->height,
                                           geometry->border_width),
                                geometry->border_width, state->map_state != XCB_MAP_STATE_UNMAPPED,
                                state->_class == XCB_WINDOW_CLASS_INPUT_ONLY});
        }
    }
    connection_.throwIfBroken();
}

std::optional<X11WindowStack::Change> X11WindowStack::handle(const xcb_generic_event_t& event) {
    const bool isOld = std::int32_t(event.full_sequence - loadedAt_) < 0;
    const bool isSentByProgram = (event.response_type & 0x80) != 0;
    if (isOld || isSentByProgram) {
        return std::nullopt;
    }
    const std::uint32_t root = connection_.root();
    switch (event.response_type) {
    case XCB_CREATE_NOTIFY: {
        const auto& created = eventAs<xcb_create_notify_event_t>(event);
        if (created.parent == root && find(created.window) == windows_.end()) {
            windows_.push_back(
                {created.window,
                 withBorder(created.x, created.y, created.width, created.height, created.border_width),
                 created.border_width});
        }
        return std::nullopt;
    }
    case XCB_CONFIGURE_NOTIFY:
        return eventAs<xcb_configure_notify_event_t>(event).event == root
                   ? configure(eventAs<xcb_configure_notify_event_t>(event))
                   : std::nullopt;
    case XCB_MAP_NOTIFY: {
        const auto& mapped = eventAs<xcb_map_notify_event_t>(event);
        return mapped.event == root ? show(mapped.window, true) : std::nullopt;
    }
    case XCB_UNMAP_NOTIFY: {
        const auto& unmapped = eventAs<xcb_unmap_notify_event_t>(event);
        return unmapped.event == root ? show(unmapped.window, false) : std::nullopt;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto& destroyed = eventAs<xcb_destroy_notify_event_t>(event);
        return destroyed.event == root ? remove(destroyed.window, true) : std::nullopt;
    }
    case XCB_REPARENT_NOTIFY:
        return eventAs<xcb_reparent_notify_event_t>(event).event == root
                   ? reparent(eventAs<xcb_reparent_notify_event_t>(event))
                   : std::nullopt;
    case XCB_CIRCULATE_NOTIFY: {
        const auto& circulated = eventAs<xcb_circulate_notify_event_t>(event);
        const auto found = find(circulated.window);
        if (circulated.event != root || found == windows_.end()) {
            return std::nullopt;
        }
        const Window window = *found;
        windows_.erase(found);
        windows_.insert(circulated.place == XCB_PLACE_ON_TOP ? windows_.end() : windows_.begin(), window);
        return Change{window.window, shown(window), shown(window)};
    }
    default:
        return std::nullopt;
    }
}

std::vector<X11WindowStack::Window>::iterator X11WindowStack::find(std::uint32_t window) {
    return std::ranges::find(windows_, window, &Window::window);
}

std::optional<X11WindowStack::Change> X11WindowStack::configure(const xcb_configure_notify_event_t& event) {
    const auto found = find(event.window);
    if (found == windows_.end()) {
        return std::nullopt;
    }
    const Window before = *found;
    windows_.erase(found);
    Window now = before;
    now.area = withBorder(event.x, event.y, event.width, event.height, event.border_width);
    now.border = event.border_width;
    insertAbove(now, event.above_sibling);
    const bool isResized = now.area.width != before.area.width || now.area.height != before.area.height;
    return Change{now.window, shown(before), shown(now), isResized};
}

std::optional<X11WindowStack::Change> X11WindowStack::show(std::uint32_t window, bool isMapped) {
    const auto found = find(window);
    if (found == windows_.end() || found->isMapped == isMapped) {
        return std::nullopt;
    }
    const X11Rect before = shown(*found);
    found->isMapped = isMapped;
    if (isMapped) {
        const X11Owned<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection_.xcb(), xcb_get_window_attributes(connection_.xcb(), window), nullptr));
        found->isInputOnly = attributes && attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY;
    }
    return Change{window, before, shown(*found), isMapped};
}

std::optional<X11WindowStack::Change> X11WindowStack::remove(std::uint32_t window, bool isGone) {
    const auto found = find(window);
    if (found == windows_.end()) {
        return std::nullopt;
    }
    const X11Rect before = shown(*found);
    windows_.erase(found);
    return Change{window, before, {}, false, false, isGone};
}

std::optional<X11WindowStack::Change> X11WindowStack::reparent(const xcb_reparent_notify_event_t& event) {
    if (event.parent != connection_.root()) {
        (void)remove(event.window, false);
        const auto frame = find(event.parent);
        return frame == windows_.end()
                   ? std::nullopt
                   : std::optional(Change{event.parent, shown(*frame), shown(*frame), false, true});
    }
    // Back on the root window, unmapped for a moment; its size is asked for, as events of it follow later.
    xcb_connection_t* xcb = connection_.xcb();
    const X11Owned<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(xcb, xcb_get_geometry(xcb, event.window), nullptr));
    if (geometry && find(event.window) == windows_.end()) {
        windows_.push_back(
            {event.window,
             withBorder(event.x, event.y, geometry->width, geometry->height, geometry->border_width),
             geometry->border_width});
    }
    return Change{event.window, {}, {}, false, true};
}

void X11WindowStack::insertAbove(const Window& window, std::uint32_t sibling) {
    const auto below = find(sibling);
    windows_.insert(below == windows_.end() ? windows_.begin() : below + 1, window);
}

} // namespace tavrin
