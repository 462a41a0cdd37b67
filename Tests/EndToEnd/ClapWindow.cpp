#include "ClapWindow.h"

#include <array>
#include <stdexcept>

namespace tavrin::test {

ClapWindow::ClapWindow(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) {
        throw std::runtime_error("the test's display can't be reached");
    }
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    window_ = xcb_generate_id(connection_);
    const std::array<std::uint32_t, 2> values{screen->black_pixel, 1};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, screen->width_in_pixels,
                      screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
    xcb_flush(connection_);
}

ClapWindow::~ClapWindow() {
    xcb_disconnect(connection_);
}

void ClapWindow::show() {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_map_window(connection_, window_);
    xcb_flush(connection_);
}

void ClapWindow::hide() {
    xcb_unmap_window(connection_, window_);
    xcb_flush(connection_);
}

} // namespace tavrin::test
