#include "OwnedWindow.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <poll.h>

namespace tavrin::test {

namespace {

constexpr std::uint32_t frameColour = 0x802080;
constexpr std::uint32_t coverColour = 0xff8000;

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

xcb_connection_t* connect(const std::string& display) {
    xcb_connection_t* connection = xcb_connect(display.c_str(), nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        throw std::runtime_error("the test's display can't be reached");
    }
    return connection;
}

} // namespace

int ownWindow(const char* display, PixelSize size) {
    xcb_connection_t* connection = connect(display);
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const std::uint32_t window = xcb_generate_id(connection);
    const std::array<std::uint32_t, 2> values{frameColour,
                                              XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, std::uint16_t(size.width),
                      std::uint16_t(size.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values.data());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 5,
                        "Owned");
    const std::uint32_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, window, 0, nullptr);
    xcb_flush(connection);
    std::printf("%u\n", window);
    std::fflush(stdout);

    for (unsigned beat = 0; xcb_connection_has_error(connection) == 0; ++beat) {
        bool isExposed = false;
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
            if ((event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY) {
                const auto* configured = reinterpret_cast<const xcb_configure_notify_event_t*>(event);
                size = {configured->width, configured->height};
            }
            isExposed = isExposed || (event->response_type & 0x7f) == XCB_EXPOSE;
            std::free(event);
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
        pollfd waiting{xcb_get_file_descriptor(connection), POLLIN, 0};
        ::poll(&waiting, 1, 33);
    }
    return 0;
}

OwnedWindow::OwnedWindow(const std::string& display, int x, int y, PixelSize size)
    : owner_(
          {ownProgram(), "--own-window", display, std::to_string(size.width), std::to_string(size.height)}),
      connection_(connect(display)), root_(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root),
      client_(std::uint32_t(std::stoul(owner_.readLine()))) {
    frame_ = makeWindow(x, y, {size.width + left + right, size.height + top + bottom}, frameColour);
    cover_ = makeWindow(0, 0, {1, 1}, coverColour);
    const auto set = [this](std::uint32_t window, const char* name, xcb_atom_t type, const auto& values) {
        const auto cookie = xcb_intern_atom(connection_, 0, std::uint16_t(std::strlen(name)), name);
        const std::unique_ptr<xcb_intern_atom_reply_t, void (*)(void*)> atom(
            xcb_intern_atom_reply(connection_, cookie, nullptr), std::free);
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom->atom, type, 32,
                            std::uint32_t(values.size()), values.data());
    };
    set(client_, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL,
        std::array<std::uint32_t, 4>{left, right, top, bottom});
    set(root_, "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW, std::array{client_});
    xcb_reparent_window(connection_, client_, frame_, left, top);
    xcb_map_window(connection_, client_);
    xcb_map_window(connection_, frame_);
    sync();
}

OwnedWindow::~OwnedWindow() {
    xcb_disconnect(connection_);
}

std::uint32_t OwnedWindow::makeWindow(int x, int y, PixelSize size, std::uint32_t colour) {
    const std::uint32_t window = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root_, std::int16_t(x), std::int16_t(y),
                      std::uint16_t(size.width), std::uint16_t(size.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &colour);
    return window;
}

void OwnedWindow::moveTo(int x, int y) {
    const std::array<std::uint32_t, 2> values{std::uint32_t(x), std::uint32_t(y)};
    xcb_configure_window(connection_, frame_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values.data());
    sync();
}

void OwnedWindow::resize(PixelSize size) {
    const auto configure = [this](std::uint32_t window, int width, int height) {
        const std::array<std::uint32_t, 2> values{std::uint32_t(width), std::uint32_t(height)};
        xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                             values.data());
    };
    configure(frame_, size.width + left + right, size.height + top + bottom);
    configure(client_, size.width, size.height);
    sync();
}

void OwnedWindow::cover(int x, int y, PixelSize size) {
    const std::array<std::uint32_t, 5> values{std::uint32_t(x), std::uint32_t(y), std::uint32_t(size.width),
                                              std::uint32_t(size.height), XCB_STACK_MODE_ABOVE};
    xcb_configure_window(connection_, cover_,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT | XCB_CONFIG_WINDOW_STACK_MODE,
                         values.data());
    xcb_map_window(connection_, cover_);
    sync();
}

void OwnedWindow::uncover() {
    xcb_unmap_window(connection_, cover_);
    sync();
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

void OwnedWindow::sync() const {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

} // namespace tavrin::test
