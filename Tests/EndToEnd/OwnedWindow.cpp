#include "OwnedWindow.h"

#include <cstdio>
#include <cstring>

#include <poll.h>
#include <xcb/xcb.h>

namespace tavrin::test {

namespace {

constexpr std::uint32_t frameColour = 0x802080;

struct Part {
    xcb_rectangle_t place;
    std::uint32_t colour;
};

/// A green ring around blue, and a colour of its own in each corner.
std::array<Part, 6> parts(PixelSize size) {
    constexpr int ring = 8;
    constexpr int corner = 24;
    const auto part = [](int x, int y, int width, int height, std::uint32_t colour) {
        return Part{{std::int16_t(x), std::int16_t(y), std::uint16_t(width), std::uint16_t(height)}, colour};
    };
    const auto [width, height] = size;
    return {part(0, 0, width, height, 0x00a000),
            part(ring, ring, width - 2 * ring, height - 2 * ring, 0x305090),
            part(0, 0, corner, corner, 0xc02020),
            part(width - corner, 0, corner, corner, 0x20c0c0),
            part(0, height - corner, corner, corner, 0xe0e040),
            part(width - corner, height - corner, corner, corner, 0xf0f0f0)};
}

void fill(xcb_connection_t* connection, std::uint32_t window, std::uint32_t context, const Part& part) {
    xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &part.colour);
    xcb_poly_fill_rectangle(connection, window, context, 1, &part.place);
}

} // namespace

int ownWindow(const char* display, PixelSize size) {
    const X11Connection server(display);
    xcb_connection_t* connection = server.xcb();
    const std::uint32_t window = xcb_generate_id(connection);
    const std::array<std::uint32_t, 2> values{frameColour,
                                              XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, server.root(), 0, 0,
                      std::uint16_t(size.width), std::uint16_t(size.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values.data());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 5,
                        "Owned");
    const std::uint32_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, window, 0, nullptr);
    xcb_flush(connection);
    std::printf("%u\n", window);
    std::fflush(stdout);

    for (unsigned beat = 0; !server.isBroken(); ++beat) {
        bool isExposed = false;
        while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            if ((event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY) {
                const auto* configured = reinterpret_cast<const xcb_configure_notify_event_t*>(event.get());
                size = {configured->width, configured->height};
            }
            isExposed = isExposed || (event->response_type & 0x7f) == XCB_EXPOSE;
        }
        if (isExposed) {
            for (const Part& part : parts(size)) {
                fill(connection, window, context, part);
            }
        }
        constexpr int side = OwnedWindow::squareSide;
        fill(connection, window, context,
             {{std::int16_t((size.width - side) / 2), std::int16_t((size.height - side) / 2), side, side},
              beat % 2 == 0 ? 0x000000U : 0xffffffU});
        xcb_flush(connection);
        pollfd waiting{server.fileDescriptor(), POLLIN, 0};
        ::poll(&waiting, 1, 33);
    }
    return 0;
}

OwnedWindow::OwnedWindow(const std::string& display, int x, int y, PixelSize size)
    : owner_(
          {ownProgram(), "--own-window", display, std::to_string(size.width), std::to_string(size.height)}),
      connection_(display), client_(std::uint32_t(std::stoul(owner_.readLine()))),
      frame_(xcb_generate_id(connection_.xcb())) {
    xcb_create_window(connection_.xcb(), XCB_COPY_FROM_PARENT, frame_, connection_.root(), std::int16_t(x),
                      std::int16_t(y), std::uint16_t(size.width + left + right),
                      std::uint16_t(size.height + top + bottom), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &frameColour);
    const auto set = [this](std::uint32_t window, const char* name, xcb_atom_t type, const auto& values) {
        xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, window, connection_.atom(name), type,
                            32, std::uint32_t(values.size()), values.data());
    };
    set(client_, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL,
        std::array<std::uint32_t, 4>{left, right, top, bottom});
    set(connection_.root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW, std::array{client_});
    xcb_reparent_window(connection_.xcb(), client_, frame_, left, top);
    xcb_map_window(connection_.xcb(), client_);
    xcb_map_window(connection_.xcb(), frame_);
    connection_.sync();
}

void OwnedWindow::moveTo(int x, int y) {
    const std::array<std::uint32_t, 2> values{std::uint32_t(x), std::uint32_t(y)};
    xcb_configure_window(connection_.xcb(), frame_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values.data());
    connection_.sync();
}

void OwnedWindow::resize(PixelSize size) {
    const auto configure = [this](std::uint32_t window, int width, int height) {
        const std::array<std::uint32_t, 2> values{std::uint32_t(width), std::uint32_t(height)};
        xcb_configure_window(connection_.xcb(), window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                             values.data());
    };
    configure(frame_, size.width + left + right, size.height + top + bottom);
    configure(client_, size.width, size.height);
    connection_.sync();
}

PixelBuffer OwnedWindow::picture(PixelSize size) {
    const PixelSize whole{size.width + left + right, size.height + top + bottom};
    PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, whole);
    const auto draw = [&](const xcb_rectangle_t& place, std::uint32_t colour) {
        for (int y = place.y; y < place.y + place.height; ++y) {
            for (int x = place.x; x < place.x + place.width; ++x) {
                std::memcpy(result.row(0, y) + std::ptrdiff_t(x) * 4, &colour, 4);
            }
        }
    };
    draw({0, 0, std::uint16_t(whole.width), std::uint16_t(whole.height)}, frameColour);
    for (Part part : parts(size)) {
        part.place.x = std::int16_t(part.place.x + left);
        part.place.y = std::int16_t(part.place.y + top);
        draw(part.place, part.colour);
    }
    return result;
}

} // namespace tavrin::test
