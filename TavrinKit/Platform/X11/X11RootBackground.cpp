#include "TavrinKit/Platform/X11/X11RootBackground.h"

#include <xcb/composite.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Properties.h"

namespace tavrin {
namespace {

constexpr xcb_render_color_t black{0, 0, 0, 0xffff};

} // namespace

X11RootBackground::X11RootBackground(const X11Connection& connection, bool isManaged)
    : connection_(connection), property_(connection.atom("_XROOTPMAP_ID")) {
    if (!isManaged) {
        makeWindow();
    }
}

X11RootBackground::~X11RootBackground() {
    if (window_ != 0) {
        xcb_destroy_window(connection_.xcb(), window_);
        connection_.flush();
    }
}

void X11RootBackground::makeWindow() {
    xcb_connection_t* xcb = connection_.xcb();
    const std::uint32_t root = connection_.root();
    const X11Owned<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(xcb, xcb_get_geometry(xcb, root), nullptr));
    connection_.throwIfBroken();
    if (!size) {
        return;
    }
    window_ = xcb_generate_id(xcb);
    const std::uint32_t attributes[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window_, root, 0, 0, size->width, size->height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, attributes);
    // For a compositing manager that is started later.
    const std::uint32_t invisible = 0;
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window_, connection_.atom("_NET_WM_WINDOW_OPACITY"),
                        XCB_ATOM_CARDINAL, 32, 1, &invisible);
    xcb_shape_rectangles(xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window_, 0, 0,
                         0, nullptr);
    const std::uint32_t below = XCB_STACK_MODE_BELOW;
    xcb_configure_window(xcb, window_, XCB_CONFIG_WINDOW_STACK_MODE, &below);
    xcb_composite_redirect_window(xcb, window_, XCB_COMPOSITE_REDIRECT_MANUAL);
    xcb_map_window(xcb, window_);
}

std::uint32_t X11RootBackground::desktopPixmap() const {
    return propertyNumber(connection_,
                          askProperty(connection_, connection_.root(), property_, XCB_ATOM_PIXMAP));
}

void X11RootBackground::draw(const X11Rect& area, xcb_render_picture_t target, int originX, int originY,
                             xcb_render_pictformat_t format) {
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_rectangle_t part{std::int16_t(area.x - originX), std::int16_t(area.y - originY),
                               std::uint16_t(area.width), std::uint16_t(area.height)};
    xcb_render_fill_rectangles(xcb, XCB_RENDER_PICT_OP_SRC, target, black, 1, &part);
    const std::uint32_t source = window_ != 0 ? window_ : desktopPixmap();
    if (source == 0) {
        return;
    }
    if (window_ != 0) { // the background may be another one by now
        xcb_clear_area(xcb, 0, window_, std::int16_t(area.x), std::int16_t(area.y), std::uint16_t(area.width),
                       std::uint16_t(area.height));
    }
    const xcb_render_picture_t picture = xcb_generate_id(xcb);
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    xcb_render_create_picture(xcb, picture, source, format, XCB_RENDER_CP_REPEAT, &repeat);
    xcb_render_composite(xcb, XCB_RENDER_PICT_OP_SRC, picture, XCB_NONE, target, std::int16_t(area.x),
                         std::int16_t(area.y), 0, 0, part.x, part.y, part.width, part.height);
    xcb_render_free_picture(xcb, picture);
}

} // namespace tavrin
