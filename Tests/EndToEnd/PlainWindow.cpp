#include "PlainWindow.h"

#include <string_view>

#include <xcb/xcb.h>

namespace tavrin::test {

PlainWindow::PlainWindow(const std::string& display, const Rect& place, std::uint32_t color)
    : connection_(display), window_(xcb_generate_id(connection_.xcb())) {
    xcb_create_window(connection_.xcb(), XCB_COPY_FROM_PARENT, window_, connection_.root(),
                      std::int16_t(place.x), std::int16_t(place.y), std::uint16_t(place.width),
                      std::uint16_t(place.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL, &color);
    constexpr std::string_view title = "Plain window";
    xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                        8, std::uint32_t(title.size()), title.data());
}

void PlainWindow::show() const {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_.xcb(), window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_map_window(connection_.xcb(), window_);
    connection_.flush();
}

void PlainWindow::hide() const {
    xcb_unmap_window(connection_.xcb(), window_);
    connection_.flush();
}

} // namespace tavrin::test
