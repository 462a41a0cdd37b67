#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"

namespace tavrin {
namespace {

/// FNV-1a, folded to 16 bits: a number that a person can read out.
std::uint32_t numberOf(std::string_view name) {
    std::uint32_t hash = 2166136261U;
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    }
    return (hash >> 16 ^ hash) & 0xffffU;
}

void numberMonitors(std::vector<X11DisplayLayout::Monitor>& monitors) {
    std::set<std::uint32_t> taken{0};
    for (auto& monitor : monitors) {
        std::uint32_t number = numberOf(monitor.name);
        while (!taken.insert(number).second) {
            ++number;
        }
        monitor.displayID = number;
    }
}

X11Rect rootArea(const X11Connection& connection) {
    xcb_connection_t* xcb = connection.xcb();
    const X11Owned<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(xcb, xcb_get_geometry(xcb, connection.root()), nullptr));
    connection.throwIfBroken();
    if (!reply) {
        throw X11Error::requestFailed("measuring the screen", 0);
    }
    return {0, 0, reply->width, reply->height};
}

} // namespace

X11Rect X11Rect::intersection(const X11Rect& other) const {
    const int left = std::max(x, other.x);
    const int top = std::max(y, other.y);
    const int right = std::min(x + width, other.x + other.width);
    const int bottom = std::min(y + height, other.y + other.height);
    return right <= left || bottom <= top ? X11Rect{} : X11Rect{left, top, right - left, bottom - top};
}

X11Rect X11Rect::united(const X11Rect& other) const {
    if (isEmpty() || other.isEmpty()) {
        return isEmpty() ? other : *this;
    }
    const int left = std::min(x, other.x);
    const int top = std::min(y, other.y);
    const int right = std::max(x + width, other.x + other.width);
    const int bottom = std::max(y + height, other.y + other.height);
    return {left, top, right - left, bottom - top};
}

bool X11Rect::contains(const X11Rect& other) const {
    return other.x >= x && other.y >= y && other.x + other.width <= x + width &&
           other.y + other.height <= y + height;
}

X11DisplayLayout::X11DisplayLayout(std::vector<Monitor> monitors) : monitors_(std::move(monitors)) {
    if (monitors_.empty()) {
        return;
    }
    const auto first = [this](auto&& condition) {
        return std::find_if(monitors_.begin(), monitors_.end(), condition);
    };
    auto main = first([](const Monitor& monitor) { return monitor.isMain; });
    if (main == monitors_.end()) {
        main = first([](const Monitor& monitor) { return monitor.area.x == 0 && monitor.area.y == 0; });
    }
    if (main == monitors_.end()) {
        main = monitors_.begin();
    }
    for (Monitor& monitor : monitors_) {
        monitor.isMain = false;
    }
    main->isMain = true;
    main_ = main->area;
}

X11DisplayLayout X11DisplayLayout::of(const X11Connection& connection) {
    connection.requireRandR("listing the displays");
    xcb_connection_t* xcb = connection.xcb();
    const X11Owned<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(xcb, xcb_randr_get_monitors(xcb, connection.root(), 1), nullptr));
    connection.throwIfBroken();

    std::vector<Monitor> monitors;
    if (reply) {
        for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
             xcb_randr_monitor_info_next(&each)) {
            const xcb_randr_monitor_info_t& information = *each.data;
            const X11Rect area{information.x, information.y, information.width, information.height};
            if (!area.isEmpty()) {
                monitors.push_back(
                    {0, connection.atomName(information.name), area, information.primary != 0});
            }
        }
    }
    if (monitors.empty()) {
        monitors.push_back({0, "screen", rootArea(connection), true});
    }
    numberMonitors(monitors);
    return X11DisplayLayout(std::move(monitors));
}

const X11DisplayLayout::Monitor* X11DisplayLayout::monitor(std::uint32_t displayID) const {
    const auto found = std::find_if(monitors_.begin(), monitors_.end(), [displayID](const Monitor& monitor) {
        return monitor.displayID == displayID;
    });
    return found == monitors_.end() ? nullptr : &*found;
}

Vec2 X11DisplayLayout::globalPoint(double rootX, double rootY) const {
    return {rootX - main_.x, main_.y + main_.height - rootY};
}

Rect X11DisplayLayout::globalRect(const X11Rect& area) const {
    const Vec2 bottomLeft = globalPoint(area.x, area.y + area.height);
    return {bottomLeft.x, bottomLeft.y, double(area.width), double(area.height)};
}

Rect X11DisplayLayout::displayFrame(const X11Rect& area) const {
    return {double(area.x - main_.x), double(area.y - main_.y), double(area.width), double(area.height)};
}

} // namespace tavrin
