#include "TavrinKit/Platform/X11/X11Blackout.h"

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin {
namespace {

xcb_rectangle_t rectangleOf(const X11Rect& area) {
    return {std::int16_t(area.x), std::int16_t(area.y), std::uint16_t(area.width),
            std::uint16_t(area.height)};
}

} // namespace

X11Blackout::X11Blackout(const X11Connection& connection, const std::vector<X11WindowStack::Window>& windows,
                         const X11ExcludedWindows& excluded)
    : connection_(connection), context_(xcb_generate_id(connection.xcb())) {
    xcb_connection_t* xcb = connection.xcb();
    const std::uint32_t values[] = {0, XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
    xcb_create_gc(xcb, context_, connection.root(),
                  XCB_GC_FOREGROUND | XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values);
    for (auto window = windows.begin(); window != windows.end(); ++window) {
        if (window->isMapped && !window->isInputOnly && excluded.contains(window->window)) {
            save(*window, {window + 1, windows.end()});
        }
    }
    for (const Saved& each : saved_) {
        xcb_xfixes_set_gc_clip_region(xcb, context_, each.seen, 0, 0);
        const xcb_rectangle_t all = rectangleOf(each.area);
        xcb_poly_fill_rectangle(xcb, connection.root(), context_, 1, &all);
    }
}

X11Blackout::~X11Blackout() {
    xcb_connection_t* xcb = connection_.xcb();
    for (const Saved& each : saved_) {
        const xcb_rectangle_t all = rectangleOf(each.area);
        xcb_xfixes_set_gc_clip_region(xcb, context_, each.seen, 0, 0);
        xcb_copy_area(xcb, each.pixmap, connection_.root(), context_, 0, 0, all.x, all.y, all.width,
                      all.height);
        xcb_xfixes_destroy_region(xcb, each.seen);
        xcb_free_pixmap(xcb, each.pixmap);
    }
    xcb_free_gc(xcb, context_);
}

void X11Blackout::save(const X11WindowStack::Window& window,
                       const std::vector<X11WindowStack::Window>& above) {
    xcb_connection_t* xcb = connection_.xcb();
    const Saved saved{window.area, xcb_generate_id(xcb), shapeOf(window)};
    for (const X11WindowStack::Window& each : above) {
        if (each.isMapped && !each.isInputOnly && !each.area.intersection(window.area).isEmpty()) {
            const xcb_xfixes_region_t hidden = shapeOf(each);
            xcb_xfixes_subtract_region(xcb, saved.seen, hidden, saved.seen);
            xcb_xfixes_destroy_region(xcb, hidden);
        }
    }
    const xcb_rectangle_t all = rectangleOf(window.area);
    xcb_create_pixmap(xcb, std::uint8_t(connection_.rootDepth()), saved.pixmap, connection_.root(), all.width,
                      all.height);
    xcb_copy_area(xcb, connection_.root(), saved.pixmap, context_, all.x, all.y, 0, 0, all.width, all.height);
    saved_.push_back(saved);
}

xcb_xfixes_region_t X11Blackout::shapeOf(const X11WindowStack::Window& window) const {
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_xfixes_region_t shape = xcb_generate_id(xcb);
    xcb_xfixes_create_region_from_window(xcb, shape, window.window, XCB_SHAPE_SK_BOUNDING);
    xcb_xfixes_translate_region(xcb, shape, std::int16_t(window.area.x + window.border),
                                std::int16_t(window.area.y + window.border));
    return shape;
}

} // namespace tavrin
