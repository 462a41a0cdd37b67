#include "Examples/Walkthrough/DemoCursors.h"

#include <utility>

#include <xcb/render.h>

#include "Examples/Walkthrough/Drawing.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::demo {

namespace {

constexpr int side = 48;

struct Shape {
    Vec2 hotSpot;
    void (*outline)(cairo_t*);
};

void arrowOutline(cairo_t* cr) {
    cairo_move_to(cr, 6, 4);
    cairo_line_to(cr, 6, 33);
    cairo_line_to(cr, 13.2, 26.4);
    cairo_line_to(cr, 18.2, 37.6);
    cairo_line_to(cr, 23.6, 35.2);
    cairo_line_to(cr, 18.8, 24.4);
    cairo_line_to(cr, 28, 23.6);
    cairo_close_path(cr);
}

void finger(cairo_t* cr, double x, double top, double bottom) {
    roundedRectangle(cr, {x, top, 6, bottom - top}, 3);
}

void handOutline(cairo_t* cr) {
    finger(cr, 15, 4, 26);
    finger(cr, 20.5, 15, 28);
    finger(cr, 26, 16, 28);
    finger(cr, 31.5, 18, 29);
    roundedRectangle(cr, {15, 22, 22.5, 18}, 7);
    cairo_move_to(cr, 15, 29);
    cairo_curve_to(cr, 11, 23, 7, 21, 6.5, 24.5);
    cairo_curve_to(cr, 9, 28, 12, 34, 17, 39);
    cairo_line_to(cr, 20, 30);
    cairo_close_path(cr);
}

void grabOutline(cairo_t* cr) {
    finger(cr, 11, 15, 28);
    finger(cr, 16.5, 13, 28);
    finger(cr, 22, 13, 28);
    finger(cr, 27.5, 15, 28);
    roundedRectangle(cr, {11, 19, 22.5, 18}, 7);
    roundedRectangle(cr, {7.5, 21, 10, 9}, 4);
}

void textOutline(cairo_t* cr) {
    cairo_rectangle(cr, 22.6, 8, 2.8, 32);
    cairo_rectangle(cr, 18, 7, 12, 2.6);
    cairo_rectangle(cr, 18, 38.4, 12, 2.6);
}

CairoSurface drawn(const Shape& shape, bool lightOutline) {
    CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, side, side));
    const CairoContext cr(cairo_create(surface.get()));
    cairo_set_line_join(cr.get(), CAIRO_LINE_JOIN_ROUND);
    shape.outline(cr.get());
    setColour(cr.get(), {lightOutline ? 0xffffffU : 0x111118U});
    cairo_set_line_width(cr.get(), lightOutline ? 4 : 3.6);
    cairo_stroke_preserve(cr.get());
    setColour(cr.get(), {lightOutline ? 0x111118U : 0xffffffU});
    cairo_fill(cr.get());
    cairo_surface_flush(surface.get());
    return surface;
}

xcb_render_pictformat_t argbFormat(xcb_connection_t* connection) {
    const X11Owned<xcb_render_query_pict_formats_reply_t> reply(
        xcb_render_query_pict_formats_reply(connection, xcb_render_query_pict_formats(connection), nullptr));
    if (reply) {
        for (auto it = xcb_render_query_pict_formats_formats_iterator(reply.get()); it.rem > 0;
             xcb_render_pictforminfo_next(&it)) {
            const xcb_render_directformat_t& direct = it.data->direct;
            if (it.data->depth == 32 && direct.alpha_mask == 0xff && direct.alpha_shift == 24 &&
                direct.red_shift == 16 && direct.blue_shift == 0) {
                return it.data->id;
            }
        }
    }
    throw Error("The X server can't show cursors with alpha.");
}

xcb_cursor_t upload(const X11Connection& display, xcb_render_pictformat_t format, cairo_surface_t* surface,
                    Vec2 hotSpot) {
    xcb_connection_t* connection = display.xcb();
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, 32, pixmap, display.root(), side, side);
    const xcb_gcontext_t gc = xcb_generate_id(connection);
    xcb_create_gc(connection, gc, pixmap, 0, nullptr);
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, gc, side, side, 0, 0, 0, 32, side * side * 4,
                  cairo_image_surface_get_data(surface));
    const xcb_render_picture_t picture = xcb_generate_id(connection);
    xcb_render_create_picture(connection, picture, pixmap, format, 0, nullptr);
    const xcb_cursor_t cursor = xcb_generate_id(connection);
    xcb_render_create_cursor(connection, cursor, picture, std::uint16_t(hotSpot.x), std::uint16_t(hotSpot.y));
    xcb_render_free_picture(connection, picture);
    xcb_free_gc(connection, gc);
    xcb_free_pixmap(connection, pixmap);
    return cursor;
}

} // namespace

DemoCursors::DemoCursors(const X11Connection& connection) {
    const xcb_render_pictformat_t format = argbFormat(connection.xcb());
    const std::array<std::pair<PointerShape, Shape>, 4> shapes{{
        {PointerShape::arrow, {{6, 4}, arrowOutline}},
        {PointerShape::hand, {{18, 4}, handOutline}},
        {PointerShape::text, {{24, 24}, textOutline}},
        {PointerShape::grabbing, {{22, 24}, grabOutline}},
    }};
    for (const auto& [name, shape] : shapes) {
        const bool lightOutline = name == PointerShape::arrow || name == PointerShape::text;
        cursors_[std::size_t(name)] =
            upload(connection, format, drawn(shape, lightOutline).get(), shape.hotSpot);
    }
}

} // namespace tavrin::demo
