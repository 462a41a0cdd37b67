#include "TavrinKit/Platform/X11/X11ShareableContent.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin {
namespace {

constexpr std::uint32_t longestProperty = 1 << 16; // in words

std::string textOf(const std::vector<char>& bytes) {
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), '\0')};
}

/// The second of the two texts of WM_CLASS: the first one names the instance.
std::string classOf(const std::vector<char>& bytes) {
    const auto end = std::find(bytes.begin(), bytes.end(), '\0');
    return end == bytes.end() ? std::string() : textOf({end + 1, bytes.end()});
}

void addApplication(std::vector<ShareableApplication>& applications, const ShareableWindow& window) {
    const auto found = std::find_if(applications.begin(), applications.end(), [&](const auto& application) {
        return application.processID == window.processID &&
               application.bundleIdentifier == window.bundleIdentifier;
    });
    if (found == applications.end() && (window.processID != 0 || !window.bundleIdentifier.empty())) {
        applications.push_back({window.bundleIdentifier, window.bundleIdentifier, window.processID});
    }
}

} // namespace

X11ShareableContent::X11ShareableContent(const X11Connection& connection)
    : connection_(connection), atoms_{connection.atom("_NET_CLIENT_LIST"),
                                      connection.atom("_NET_WM_NAME"),
                                      connection.atom("_NET_WM_PID"),
                                      connection.atom("_NET_WM_WINDOW_TYPE"),
                                      connection.atom("_NET_WM_WINDOW_TYPE_DESKTOP"),
                                      connection.atom("UTF8_STRING")} {}

ShareableContent X11ShareableContent::load(bool excludingDesktopWindows, bool onScreenWindowsOnly) const {
    const X11DisplayLayout layout = X11DisplayLayout::of(connection_);
    ShareableContent content;
    content.mainDisplayHeight = layout.mainDisplayHeight();
    for (const X11DisplayLayout::Monitor& monitor : layout.monitors()) {
        content.displays.push_back({monitor.displayID, monitor.name, layout.displayFrame(monitor.area),
                                    PixelSize{monitor.area.width, monitor.area.height}, monitor.isMain});
    }
    for (const std::uint32_t window : applicationWindows()) {
        if (auto described = describe(window, layout, excludingDesktopWindows, onScreenWindowsOnly)) {
            addApplication(content.applications, *described);
            content.windows.push_back(std::move(*described));
        }
    }
    connection_.throwIfBroken();
    return content;
}

std::vector<std::uint32_t> X11ShareableContent::applicationWindows() const {
    const auto named = numbers(connection_.root(), atoms_.clientList, XCB_ATOM_WINDOW);
    if (!named.empty()) {
        return named;
    }
    xcb_connection_t* xcb = connection_.xcb();
    const X11Owned<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(xcb, xcb_query_tree(xcb, connection_.root()), nullptr));
    if (!tree) {
        return {};
    }
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    return {children, children + xcb_query_tree_children_length(tree.get())};
}

std::vector<char> X11ShareableContent::property(std::uint32_t window, std::uint32_t name,
                                                std::uint32_t type) const {
    xcb_connection_t* xcb = connection_.xcb();
    const auto cookie = xcb_get_property(xcb, 0, window, name, type, 0, longestProperty);
    const X11Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb, cookie, nullptr));
    if (!reply) {
        return {};
    }
    const char* bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return {bytes, bytes + xcb_get_property_value_length(reply.get())};
}

std::vector<std::uint32_t> X11ShareableContent::numbers(std::uint32_t window, std::uint32_t name,
                                                        std::uint32_t type) const {
    const std::vector<char> bytes = property(window, name, type);
    std::vector<std::uint32_t> result(bytes.size() / sizeof(std::uint32_t));
    if (!result.empty()) {
        std::memcpy(result.data(), bytes.data(), result.size() * sizeof(std::uint32_t));
    }
    return result;
}

std::optional<ShareableWindow> X11ShareableContent::describe(std::uint32_t window,
                                                             const X11DisplayLayout& layout,
                                                             bool excludingDesktopWindows,
                                                             bool onScreenWindowsOnly) const {
    xcb_connection_t* xcb = connection_.xcb();
    const auto attributesCookie = xcb_get_window_attributes(xcb, window);
    const auto geometryCookie = xcb_get_geometry(xcb, window);
    const auto originCookie = xcb_translate_coordinates(xcb, window, connection_.root(), 0, 0);
    const X11Owned<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(xcb, attributesCookie, nullptr));
    const X11Owned<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(xcb, geometryCookie, nullptr));
    const X11Owned<xcb_translate_coordinates_reply_t> origin(
        xcb_translate_coordinates_reply(xcb, originCookie, nullptr));
    if (!attributes || !geometry || !origin || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT ||
        (onScreenWindowsOnly && attributes->map_state != XCB_MAP_STATE_VIEWABLE)) {
        return std::nullopt;
    }
    const auto types = numbers(window, atoms_.windowType, XCB_ATOM_ATOM);
    if (excludingDesktopWindows && std::find(types.begin(), types.end(), atoms_.desktopType) != types.end()) {
        return std::nullopt;
    }

    ShareableWindow result;
    result.windowID = window;
    result.title = textOf(property(window, atoms_.name, atoms_.utf8));
    if (result.title.empty()) {
        result.title = textOf(property(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING));
    }
    result.frame = layout.displayFrame({origin->dst_x, origin->dst_y, geometry->width, geometry->height});
    const auto processIDs = numbers(window, atoms_.processID, XCB_ATOM_CARDINAL);
    result.processID = processIDs.empty() ? 0 : std::int32_t(processIDs.front());
    result.bundleIdentifier = classOf(property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING));
    return result;
}

} // namespace tavrin
