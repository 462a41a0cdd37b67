#include "TavrinKit/Platform/X11/X11ShareableContent.h"

#include <algorithm>
#include <string>
#include <utility>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Properties.h"
#include "TavrinKit/Platform/X11/X11WindowGeometry.h"

namespace tavrin {
namespace {

bool holds(const std::vector<std::uint32_t>& atoms, std::uint32_t wanted) {
    return wanted != XCB_ATOM_NONE && std::ranges::find(atoms, wanted) != atoms.end();
}

void addApplication(std::vector<ShareableApplication>& applications, const ShareableWindow& window) {
    const auto found = std::ranges::find_if(applications, [&](const ShareableApplication& application) {
        return application.processID == window.processID &&
               application.bundleIdentifier == window.bundleIdentifier;
    });
    if (found == applications.end() && (window.processID != 0 || !window.bundleIdentifier.empty())) {
        applications.push_back({window.bundleIdentifier, window.applicationName, window.processID});
    }
}

} // namespace

X11ShareableContent::X11ShareableContent(const X11Connection& connection,
                                         std::shared_ptr<const DesktopEntryIndex> entries)
    : connection_(connection), owners_(connection, std::move(entries)) {
    const auto atoms = atomsNamed(
        connection, {"_NET_CLIENT_LIST_STACKING", "_NET_CLIENT_LIST", "_NET_WM_NAME", "_NET_WM_WINDOW_TYPE",
                     "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN"});
    atoms_ = {atoms[0], atoms[1], atoms[2], atoms[3], atoms[4], atoms[5], atoms[6]};
}

ShareableContent X11ShareableContent::load(bool excludingDesktopWindows, bool onScreenWindowsOnly) const {
    const X11DisplayLayout layout = X11DisplayLayout::of(connection_);
    ShareableContent content;
    content.mainDisplayHeight = layout.mainDisplayHeight();
    for (const X11DisplayLayout::Monitor& monitor : layout.monitors()) {
        content.displays.push_back({monitor.displayID, monitor.name, layout.displayFrame(monitor.area),
                                    PixelSize{monitor.area.width, monitor.area.height}, monitor.isMain});
    }
    content.windows = describe(applicationWindows(), layout, excludingDesktopWindows);
    if (onScreenWindowsOnly) {
        std::erase_if(content.windows, [](const ShareableWindow& window) { return !window.isOnScreen; });
    }
    for (const ShareableWindow& window : content.windows) {
        addApplication(content.applications, window);
    }
    connection_.throwIfBroken();
    return content;
}

std::vector<std::uint32_t> X11ShareableContent::applicationWindows() const {
    const auto ask = [this](std::uint32_t list) {
        return askProperty(connection_, connection_.root(), list, XCB_ATOM_WINDOW);
    };
    const auto askedStacked = ask(atoms_.stackedClients);
    const auto askedUnstacked = ask(atoms_.clients);
    const auto stacked = propertyNumbers(connection_, askedStacked);
    const auto unstacked = propertyNumbers(connection_, askedUnstacked);
    if (!stacked.empty() || !unstacked.empty()) {
        return stacked.empty() ? unstacked : stacked;
    }
    return owners_.clientsOf(topLevelWindows(connection_));
}

std::vector<ShareableWindow> X11ShareableContent::describe(const std::vector<std::uint32_t>& windows,
                                                           const X11DisplayLayout& layout,
                                                           bool excludingDesktopWindows) const {
    struct Question {
        xcb_get_property_cookie_t name, oldName, types, states;
    };
    std::vector<Question> questions;
    for (const std::uint32_t window : windows) {
        const auto ask = [&](std::uint32_t name) {
            return askProperty(connection_, window, name, XCB_ATOM_ANY);
        };
        questions.push_back(
            {ask(atoms_.name), ask(XCB_ATOM_WM_NAME), ask(atoms_.windowType), ask(atoms_.state)});
    }
    const auto geometries = X11WindowGeometry::of(connection_, windows);
    const auto owners = owners_.of(windows);

    std::vector<ShareableWindow> result;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const std::string name = propertyText(connection_, questions[i].name);
        const std::string oldName = propertyText(connection_, questions[i].oldName);
        const auto types = propertyNumbers(connection_, questions[i].types);
        const auto states = propertyNumbers(connection_, questions[i].states);
        const bool isLeftOut = excludingDesktopWindows && holds(types, atoms_.desktopType);
        if (!geometries[i] || geometries[i]->isInputOnly || isLeftOut) {
            continue;
        }
        ShareableWindow window;
        window.windowID = windows[i];
        window.title = name.empty() ? oldName : name;
        window.frame = layout.displayFrame(geometries[i]->frame);
        window.isOnScreen = geometries[i]->isViewable && !holds(states, atoms_.hiddenState);
        window.processID = owners[i].processID;
        window.bundleIdentifier = owners[i].bundleIdentifier;
        window.applicationName = owners[i].applicationName;
        result.push_back(std::move(window));
    }
    return result;
}

} // namespace tavrin
