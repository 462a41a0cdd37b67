#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <xcb/xcb.h>

#include "Figures.h"
#include "Measuring/Measuring.h"
#include "TavrinApp/Sources/DesktopSourceCatalog.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::bench {
namespace {

constexpr int windowCount = 60;
constexpr int rounds = 9;

/// Shows as many windows as a busy desktop has, each in a frame as a window manager makes it.
void openWindows(const X11Connection& connection) {
    xcb_connection_t* xcb = connection.xcb();
    const auto open = [&](std::uint32_t parent, int x, int y, int width, int height) {
        const std::uint32_t window = xcb_generate_id(xcb);
        xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, parent, std::int16_t(x), std::int16_t(y),
                          std::uint16_t(width), std::uint16_t(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_map_window(xcb, window);
        return window;
    };
    const auto setText = [&](std::uint32_t window, std::uint32_t name, std::uint32_t type,
                             const std::string& text) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, name, type, 8, std::uint32_t(text.size()),
                            text.data());
    };
    const auto setNumbers = [&](std::uint32_t window, const char* name, std::uint32_t type,
                                const std::vector<std::uint32_t>& numbers) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, connection.atom(name), type, 32,
                            std::uint32_t(numbers.size()), numbers.data());
    };
    std::vector<std::uint32_t> clients;
    for (int i = 0; i < windowCount; ++i) {
        const std::uint32_t frame = open(connection.root(), 15 * i, 9 * i, 640, 420);
        clients.push_back(open(frame, 4, 24, 632, 392));
        const std::string application = fmt::format("Application{}", i % 12);
        setText(clients.back(), connection.atom("_NET_WM_NAME"), connection.atom("UTF8_STRING"),
                fmt::format("Document {} of somebody's work – {}", i, application));
        setText(clients.back(), XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                application + std::string(1, '\0') + application + std::string(1, '\0'));
        setNumbers(clients.back(), "_NET_WM_PID", XCB_ATOM_CARDINAL, {std::uint32_t(4000 + i % 12)});
        setNumbers(clients.back(), "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL, {4, 4, 24, 4});
    }
    setNumbers(connection.root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW, clients);
}

} // namespace

void listSources(Takes&) {
    const VirtualDisplay display;
    const X11Connection connection(display.name());
    openWindows(connection);
    connection.sync();
    std::vector<double> milliseconds;
    for (int i = 0; i < rounds; ++i) {
        // A new backend each time, so that the applications' files are read each time too.
        DesktopSourceCatalog catalog(std::make_shared<X11CaptureBackend>(display.name()));
        std::size_t listed = 0;
        milliseconds.push_back(1000 * secondsTaken([&] { listed = catalog.loadSources().size(); }));
        if (listed != windowCount + 1) {
            throw Error(fmt::format("Of {} windows and a display {} were listed.", windowCount, listed));
        }
    }
    printFigure("sources.list", median(milliseconds), "ms");
}

} // namespace tavrin::bench
