#include "TavrinKit/Imaging/Text.h"

#include <algorithm>
#include <cmath>
#include <vector>

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

/// Valid UTF-8 of at most `longest` bytes.
std::string validText(std::string_view text, std::size_t longest) {
    std::size_t length = std::min(text.size(), longest);
    while (length > 0 && length < text.size() && (text[length] & 0xC0) == 0x80) {
        --length; // not within a character
    }
    char* valid = g_utf8_make_valid(text.data(), gssize(length));
    std::string result(valid);
    g_free(valid);
    return result;
}

PangoLayout* makeLayout(const std::string& text, const TextFont& font) {
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
    pango_layout_set_text(layout, text.data(), int(text.size()));
    return layout;
}

PangoLayout* makeLineLayout(std::string_view text, const TextFont& font) {
    std::string line = validText(text, TextLine::longestText);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    PangoLayout* layout = makeLayout(line, font);
    pango_layout_set_single_paragraph_mode(layout, TRUE);
    return layout;
}

/// With the context's origin on the baseline and y as Pango has it: downward.
void showLine(Raster::Context& context, PangoLayoutLine* line, Vec2 baseline) {
    cairo_save(context.cairo);
    cairo_translate(context.cairo, baseline.x, baseline.y);
    if (context.yAxis == Raster::YAxis::up) {
        cairo_scale(context.cairo, 1, -1);
    }
    cairo_move_to(context.cairo, 0, 0);
    pango_cairo_show_layout_line(context.cairo, line);
    cairo_restore(context.cairo);
}

double pixels(int units) {
    return double(units) / PANGO_SCALE;
}

} // namespace

struct TextLine::Implementation {
    explicit Implementation(PangoLayout* made) : layout(made) {
        PangoRectangle logical{};
        pango_layout_line_get_extents(line(), nullptr, &logical);
        width = pixels(logical.width);
        ascent = pixels(PANGO_ASCENT(logical));
        descent = pixels(PANGO_DESCENT(logical));
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
    : implementation_(std::make_unique<Implementation>(makeLineLayout(text, font))) {}

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
    raster.context().setColor(color);
    showLine(raster.context(), implementation_->line(), baseline);
}

struct TextBlock::Implementation {
    /// A line and its place in the column, which starts at its top left corner; y downward.
    struct Line {
        PangoLayoutLine* line; ///< belongs to the layout
        Vec2 baseline;
        double top;
        double bottom;
    };

    Implementation(PangoLayout* made, double columnWidth, TextAlignment alignment) : layout(made) {
        pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
        PangoAttrList* attributes = pango_attr_list_new();
        pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
        pango_layout_set_attributes(layout, attributes);
        pango_attr_list_unref(attributes);
        pango_layout_set_width(layout, int(std::clamp(columnWidth, 1.0, widestColumn) * PANGO_SCALE));
        PangoLayoutIter* iterator = pango_layout_get_iter(layout);
        do {
            PangoRectangle ink{};
            PangoRectangle logical{};
            pango_layout_iter_get_line_extents(iterator, &ink, &logical);
            const double left = free(columnWidth - pixels(logical.width), alignment);
            const double top = pixels(logical.y);
            lines.push_back({pango_layout_iter_get_line_readonly(iterator),
                             {left, pixels(pango_layout_iter_get_baseline(iterator))},
                             top,
                             top + pixels(logical.height)});
        } while (pango_layout_iter_next_line(iterator));
        pango_layout_iter_free(iterator);
    }
    ~Implementation() { g_object_unref(layout); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    /// How far a line starts from the left that leaves this much of the column free.
    static double free(double room, TextAlignment alignment) {
        switch (alignment) {
        case TextAlignment::left:
            return 0;
        case TextAlignment::center:
            return room / 2;
        case TextAlignment::right:
            return room;
        }
        return 0;
    }

    static constexpr double widestColumn = 65536;

    PangoLayout* layout;
    std::vector<Line> lines;
};

TextBlock::TextBlock(std::string_view text, const TextFont& font, double width, TextAlignment alignment)
    : implementation_(std::make_unique<Implementation>(makeLayout(validText(text, longestText), font), width,
                                                       alignment)) {}

TextBlock::~TextBlock() = default;
TextBlock::TextBlock(TextBlock&&) noexcept = default;
TextBlock& TextBlock::operator=(TextBlock&&) noexcept = default;

void TextBlock::draw(Raster& raster, const Rect& rect, const Color& color) const {
    if (rect.isEmpty() || !rect.origin().isFinite() || !std::isfinite(rect.width * rect.height)) {
        return;
    }
    Raster::Context& context = raster.context();
    const bool isUp = context.yAxis == Raster::YAxis::up;
    cairo_save(context.cairo);
    cairo_rectangle(context.cairo, rect.minX(), rect.minY(), std::abs(rect.width), std::abs(rect.height));
    cairo_clip(context.cairo);
    context.setColor(color);
    bool isFirst = true;
    for (const Implementation::Line& line : implementation_->lines) {
        if (!isFirst && line.bottom > std::abs(rect.height)) {
            break;
        }
        const double y = isUp ? rect.maxY() - line.baseline.y : rect.minY() + line.baseline.y;
        showLine(context, line.line, {rect.minX() + line.baseline.x, y});
        isFirst = false;
    }
    cairo_restore(context.cairo);
}

} // namespace tavrin
