#include "Examples/Walkthrough/Drawing.h"

#include <cmath>
#include <numbers>

#include <pango/pangocairo.h>

namespace tavrin::demo {

namespace {

struct GObjectDeleter {
    void operator()(void* object) const { g_object_unref(object); }
};
using Layout = std::unique_ptr<PangoLayout, GObjectDeleter>;

Layout makeLayout(cairo_t* cr, std::string_view text, const TextStyle& style) {
    Layout layout(pango_cairo_create_layout(cr));
    PangoFontDescription* font = pango_font_description_from_string("Inter, Cantarell, Noto Sans, sans");
    pango_font_description_set_absolute_size(font, style.size * PANGO_SCALE);
    pango_font_description_set_weight(font, PangoWeight(int(style.weight)));
    pango_layout_set_font_description(layout.get(), font);
    pango_font_description_free(font);
    pango_layout_set_text(layout.get(), text.data(), int(text.size()));
    if (style.struckThrough) {
        PangoAttrList* attributes = pango_attr_list_new();
        pango_attr_list_insert(attributes, pango_attr_strikethrough_new(TRUE));
        pango_layout_set_attributes(layout.get(), attributes);
        pango_attr_list_unref(attributes);
    }
    return layout;
}

} // namespace

void setColour(cairo_t* cr, Colour colour) {
    const auto channel = [&](int shift) {
        return double((colour.rgb >> shift) & 0xffU) / 255;
    };
    cairo_set_source_rgba(cr, channel(16), channel(8), channel(0), colour.alpha);
}

void roundedRectangle(cairo_t* cr, const Rect& rect, double radius) {
    constexpr double quarter = std::numbers::pi / 2;
    cairo_new_sub_path(cr);
    cairo_arc(cr, rect.maxX() - radius, rect.minY() + radius, radius, -quarter, 0);
    cairo_arc(cr, rect.maxX() - radius, rect.maxY() - radius, radius, 0, quarter);
    cairo_arc(cr, rect.minX() + radius, rect.maxY() - radius, radius, quarter, 2 * quarter);
    cairo_arc(cr, rect.minX() + radius, rect.minY() + radius, radius, 2 * quarter, 3 * quarter);
    cairo_close_path(cr);
}

void fillRounded(cairo_t* cr, const Rect& rect, double radius, Colour colour) {
    setColour(cr, colour);
    roundedRectangle(cr, rect, radius);
    cairo_fill(cr);
}

void strokeRounded(cairo_t* cr, const Rect& rect, double radius, Colour colour, double lineWidth) {
    setColour(cr, colour);
    roundedRectangle(cr, rect.inset(lineWidth / 2, lineWidth / 2), radius - lineWidth / 2);
    cairo_set_line_width(cr, lineWidth);
    cairo_stroke(cr);
}

void softShadow(cairo_t* cr, const Rect& rect, double radius, double reach, double dropY, double strength) {
    // Rings of growing size and equal, low opacity add up to a smooth fall-off.
    const int rings = std::max(4, int(reach / 2));
    double covered = 0;
    for (int i = 0; i < rings; ++i) {
        const double share = double(i + 1) / rings;
        const double wanted = strength * share * share;
        const double alpha = (wanted - covered) / (1 - covered);
        covered = wanted;
        const double grow = reach * (1 - share);
        fillRounded(cr, rect.translated(0, dropY).inset(-grow, -grow), radius + grow, {0x0b0b23, alpha});
    }
}

Rect drawText(cairo_t* cr, std::string_view text, const Rect& box, const TextStyle& style) {
    const Layout layout = makeLayout(cr, text, style);
    pango_layout_set_width(layout.get(), int(box.width * PANGO_SCALE));
    pango_layout_set_alignment(layout.get(), style.align == Align::left     ? PANGO_ALIGN_LEFT
                                             : style.align == Align::centre ? PANGO_ALIGN_CENTER
                                                                            : PANGO_ALIGN_RIGHT);
    if (style.wraps) {
        pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
        pango_layout_set_line_spacing(layout.get(), float(style.lineSpacing));
    } else {
        pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
        pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_END);
    }
    PangoRectangle logical;
    pango_layout_get_pixel_extents(layout.get(), nullptr, &logical);
    const double top = style.wraps ? box.y : std::round(box.y + (box.height - logical.height) / 2);
    setColour(cr, style.colour);
    cairo_move_to(cr, box.x, top);
    pango_cairo_show_layout(cr, layout.get());

    PangoRectangle caret;
    pango_layout_get_cursor_pos(layout.get(), int(text.size()), &caret, nullptr);
    return {box.x + double(caret.x) / PANGO_SCALE, top + double(caret.y) / PANGO_SCALE, 0,
            double(caret.height) / PANGO_SCALE};
}

double textWidth(cairo_t* cr, std::string_view text, const TextStyle& style) {
    PangoRectangle logical;
    pango_layout_get_pixel_extents(makeLayout(cr, text, style).get(), nullptr, &logical);
    return logical.width;
}

} // namespace tavrin::demo
