#include "TavrinKit/Platform/X11/X11WindowGeometry.h"

#include <algorithm>
#include <array>
#include <limits>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Properties.h"

namespace tavrin {
namespace {

/// Left, right, top and bottom, as the properties have them.
using Extents = std::array<int, 4>;

/// What is asked about one window, while the answers are under way.
struct Question {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t origin;
    xcb_get_property_cookie_t frameExtents;
    xcb_get_property_cookie_t shadowExtents;
};

/// @param extents  the names of the frame's and of the shadow's
Question ask(const X11Connection& connection, const std::vector<std::uint32_t>& extents,
             std::uint32_t window) {
    xcb_connection_t* xcb = connection.xcb();
    return {xcb_get_window_attributes(xcb, window), xcb_get_geometry(xcb, window),
            xcb_translate_coordinates(xcb, window, connection.root(), 0, 0),
            askProperty(connection, window, extents[0], XCB_ATOM_CARDINAL),
            askProperty(connection, window, extents[1], XCB_ATOM_CARDINAL)};
}

Extents extentsFrom(const X11Connection& connection, xcb_get_property_cookie_t cookie) {
    const auto lengths = propertyNumbers(connection, cookie);
    Extents extents{};
    if (lengths.size() >= extents.size()) {
        std::transform(
            lengths.begin(), lengths.begin() + extents.size(), extents.begin(), [](std::uint32_t length) {
                return int(std::min(length, std::uint32_t(std::numeric_limits<std::int16_t>::max())));
            });
    }
    return extents;
}

X11Rect grown(const X11Rect& area, const Extents& by) {
    return {area.x - by[0], area.y - by[2], area.width + by[0] + by[1], area.height + by[2] + by[3]};
}

X11Rect shrunk(const X11Rect& area, const Extents& by) {
    return {area.x + by[0], area.y + by[2], area.width - by[0] - by[1], area.height - by[2] - by[3]};
}

/// With `client` and the rest, but neither `topLevel` nor what follows from it; the frame is as wanted.
std::optional<X11WindowGeometry> answer(const X11Connection& connection, const Question& question,
                                        std::uint32_t window) {
    xcb_connection_t* xcb = connection.xcb();
    const X11Owned<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(xcb, question.attributes, nullptr));
    const X11Owned<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(xcb, question.geometry, nullptr));
    const X11Owned<xcb_translate_coordinates_reply_t> origin(
        xcb_translate_coordinates_reply(xcb, question.origin, nullptr));
    const Extents frameExtents = extentsFrom(connection, question.frameExtents);
    const Extents shadowExtents = extentsFrom(connection, question.shadowExtents);
    if (!attributes || !geometry || !origin) {
        return std::nullopt;
    }
    X11WindowGeometry result;
    result.window = window;
    result.isViewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    result.isInputOnly = attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY;
    result.isOverrideRedirect = attributes->override_redirect != 0;
    result.client = {origin->dst_x, origin->dst_y, geometry->width, geometry->height};
    const int border = geometry->border_width;
    result.frame = grown(grown(result.client, {border, border, border, border}), frameExtents);
    const X11Rect withoutShadow = shrunk(result.frame, shadowExtents);
    if (!withoutShadow.isEmpty()) {
        result.frame = withoutShadow;
    }
    return result;
}

/// Climbs from all windows at once, a level of the tree for each round trip.
void findTopLevels(const X11Connection& connection, std::vector<std::optional<X11WindowGeometry>>& windows) {
    xcb_connection_t* xcb = connection.xcb();
    std::vector<std::optional<X11WindowGeometry>*> climbing;
    for (auto& window : windows) {
        if (window) {
            window->topLevel = window->window;
            climbing.push_back(&window);
        }
    }
    while (!climbing.empty()) {
        std::vector<xcb_query_tree_cookie_t> cookies;
        for (const auto* window : climbing) {
            cookies.push_back(xcb_query_tree(xcb, (*window)->topLevel));
        }
        std::vector<std::optional<X11WindowGeometry>*> higher;
        for (std::size_t i = 0; i < climbing.size(); ++i) {
            const X11Owned<xcb_query_tree_reply_t> reply(xcb_query_tree_reply(xcb, cookies[i], nullptr));
            if (!reply || reply->parent == XCB_NONE) {
                climbing[i]->reset();
            } else if (reply->parent != connection.root()) {
                (*climbing[i])->topLevel = reply->parent;
                higher.push_back(climbing[i]);
            }
        }
        climbing = std::move(higher);
    }
}

void measureTopLevels(const X11Connection& connection,
                      std::vector<std::optional<X11WindowGeometry>>& windows) {
    xcb_connection_t* xcb = connection.xcb();
    std::vector<xcb_get_geometry_cookie_t> cookies;
    for (const auto& window : windows) {
        cookies.push_back(window ? xcb_get_geometry(xcb, window->topLevel) : xcb_get_geometry_cookie_t{});
    }
    for (std::size_t i = 0; i < windows.size(); ++i) {
        if (!windows[i]) {
            continue;
        }
        const X11Owned<xcb_get_geometry_reply_t> reply(xcb_get_geometry_reply(xcb, cookies[i], nullptr));
        if (!reply) {
            windows[i].reset();
            continue;
        }
        const int borders = 2 * reply->border_width;
        windows[i]->topLevelArea = {reply->x, reply->y, reply->width + borders, reply->height + borders};
        const X11Rect inside = windows[i]->frame.intersection(windows[i]->topLevelArea);
        windows[i]->frame = inside.isEmpty() ? windows[i]->topLevelArea : inside;
    }
}

} // namespace

std::vector<std::optional<X11WindowGeometry>>
X11WindowGeometry::of(const X11Connection& connection, const std::vector<std::uint32_t>& windows) {
    const auto extents = atomsNamed(connection, {"_NET_FRAME_EXTENTS", "_GTK_FRAME_EXTENTS"});
    std::vector<Question> questions;
    for (const std::uint32_t window : windows) {
        questions.push_back(ask(connection, extents, window));
    }
    std::vector<std::optional<X11WindowGeometry>> result;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        result.push_back(answer(connection, questions[i], windows[i]));
    }
    findTopLevels(connection, result);
    measureTopLevels(connection, result);
    connection.throwIfBroken();
    return result;
}

std::optional<X11WindowGeometry> X11WindowGeometry::of(const X11Connection& connection,
                                                       std::uint32_t window) {
    return of(connection, std::vector{window}).front();
}

std::vector<std::uint32_t> topLevelWindows(const X11Connection& connection) {
    xcb_connection_t* xcb = connection.xcb();
    const X11Owned<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(xcb, xcb_query_tree(xcb, connection.root()), nullptr));
    connection.throwIfBroken();
    if (!tree) {
        return {};
    }
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    return {children, children + xcb_query_tree_children_length(tree.get())};
}

} // namespace tavrin
