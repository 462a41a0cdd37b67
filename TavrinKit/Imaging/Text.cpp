#include "TavrinKit/Imaging/Text.h"

#include <algorithm>
#include <cmath>

#include <pango/pangocairo.h>

#include "TavrinKit/Imaging/RasterContext.h"

namespace tavrin {
namespace {

constexpr const char* families = "Inter,Noto Sans,Cantarell,DejaVu Sans,sans-serif";

PangoWeight pangoWeight(FontWeight weight) {
    switch (weight) {
    case FontWeight::regular:
        return PANGO_WEIGHT_NORMAL;
    case FontWeight::medium:
        return PANGO_WEIGHT_MEDIUM;
    case FontWeight::semibold:
        return PANGO_WEIGHT_SEMIBOLD;
    case FontWeight::bold:
        return PANGO_WEIGHT_BOLD;
    }
    return PANGO_WEIGHT_NORMAL;
}

PangoContext* makeContext() {
    PangoContext* context = pango_font_map_create_context(pango_cairo_font_map_get_default());
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(context, FALSE);
    return context;
}

PangoLayout* makeLayout(std::string_view text, const TextFont& font) {
    PangoContext* context = makeContext();
    PangoLayout* layout = pango_layout_new(context);
    g_object_unref(context);

    PangoFontDescription* description = pango_font_description_new();
    pango_font_description_set_family_static(description, families);
    pango_font_description_set_weight(description, pangoWeight(font.weight));
    const double size = std::isfinite(font.size) ? std::clamp(font.size, 1.0, 4096.0) : 16;
    pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
    pango_layout_set_font_description(layout, description);
    pango_font_description_free(description);

    char* valid = g_utf8_make_valid(text.data(), gssize(text.size()));
    std::string line(valid);
    g_free(valid);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    pango_layout_set_single_paragraph_mode(layout, TRUE);
    pango_layout_set_text(layout, line.data(), int(line.size()));
    return layout;
}

} // namespace

struct TextLine::Implementation {
    explicit Implementation(PangoLayout* made) : layout(made) {
        PangoRectangle logical{};
        pango_layout_line_get_extents(line(), nullptr, &logical);
        width = double(logical.width) / PANGO_SCALE;
        ascent = double(PANGO_ASCENT(logical)) / PANGO_SCALE;
        descent = double(PANGO_DESCENT(logical)) / PANGO_SCALE;
    }
    ~Implementation() { g_object_unref(layout); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    [[nodiscard]] PangoLayoutLine* line() const { return pango_layout_get_line_readonly(layout, 0); }

    PangoLayout* layout;
    double width = 0;
    double ascent = 0;
    double descent = 0;
};

TextLine::TextLine(std::string_view text, const TextFont& font)
    : implementation_(std::make_unique<Implementation>(makeLayout(text, font))) {}

TextLine::~TextLine() = default;
TextLine::TextLine(TextLine&&) noexcept = default;
TextLine& TextLine::operator=(TextLine&&) noexcept = default;

double TextLine::width() const {
    return implementation_->width;
}

double TextLine::ascent() const {
    return implementation_->ascent;
}

double TextLine::descent() const {
    return implementation_->descent;
}

void TextLine::draw(Raster& raster, Vec2 baseline, const Color& color) const {
    if (!baseline.isFinite()) {
        return;
    }
    Raster::Context& context = raster.context();
    cairo_save(context.cairo);
    context.setColor(color);
    cairo_translate(context.cairo, baseline.x, baseline.y);
    if (context.yAxis == Raster::YAxis::up) {
        cairo_scale(context.cairo, 1, -1);
    }
    cairo_move_to(context.cairo, 0, 0);
    pango_cairo_show_layout_line(context.cairo, implementation_->line());
    cairo_restore(context.cairo);
}

} // namespace tavrin
