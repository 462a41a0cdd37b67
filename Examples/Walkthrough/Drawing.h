#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <cairo.h>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin::demo {

// A few words over Cairo and Pango that say what a flat interface is made of.

struct CairoDeleter {
    void operator()(cairo_t* cr) const { cairo_destroy(cr); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using CairoContext = std::unique_ptr<cairo_t, CairoDeleter>;
using CairoSurface = std::unique_ptr<cairo_surface_t, CairoDeleter>;

/// 0xRRGGBB with an opacity.
struct Colour {
    std::uint32_t rgb = 0;
    double alpha = 1;
};

enum class Weight { regular = 400, medium = 500, semibold = 600, bold = 700 };
enum class Align { left, centre, right };

struct TextStyle {
    double size = 15; ///< pixels
    Weight weight = Weight::regular;
    Colour colour{0x1c2024};
    Align align = Align::left;
    bool struckThrough = false;
    bool wraps = false;     ///< breaks lines at the box's width; else one line with an ellipsis
    double lineSpacing = 1; ///< of the font's own
};

void setColour(cairo_t* cr, Colour colour);
void roundedRectangle(cairo_t* cr, const Rect& rect, double radius);
void fillRounded(cairo_t* cr, const Rect& rect, double radius, Colour colour);
void strokeRounded(cairo_t* cr, const Rect& rect, double radius, Colour colour, double lineWidth = 1);

/// A soft shadow below a rounded rectangle. @param reach  pixels over which it fades
void softShadow(cairo_t* cr, const Rect& rect, double radius, double reach, double dropY, double strength);

/// Draws a text in a box: vertically centred when it is one line, from the top when it wraps.
/// @return where a caret behind its last character stands: top left corner and height
Rect drawText(cairo_t* cr, std::string_view text, const Rect& box, const TextStyle& style);

/// The width of a text on one line.
[[nodiscard]] double textWidth(cairo_t* cr, std::string_view text, const TextStyle& style);

} // namespace tavrin::demo
