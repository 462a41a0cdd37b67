#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

enum class FontWeight { regular, medium, semibold, bold };

/// The interface's typeface at a size: Inter where the machine has it, else its best sans.
struct TextFont {
    double size = 16; ///< pixels per em, at least 1
    FontWeight weight = FontWeight::regular;
};

/// One typeset line of text: measured once, drawn as often as needed.
///
/// Line breaks in the text become blanks. Characters that the typeface lacks come from others. Glyphs are
/// placed at fractions of a pixel and not hinted, so that a line measures the same wherever it stands. Any
/// thread may make one; it belongs to the thread that did.
class TextLine {
public:
    /// A longer text is cut.
    static constexpr std::size_t longestText = 2048; ///< bytes

    TextLine(std::string_view text, const TextFont& font);
    ~TextLine();
    TextLine(TextLine&&) noexcept;
    TextLine& operator=(TextLine&&) noexcept;

    [[nodiscard]] double width() const;   ///< the advance of the line, pixels
    [[nodiscard]] double ascent() const;  ///< from the baseline to the top of the line, positive
    [[nodiscard]] double descent() const; ///< from the baseline to the foot of the line, positive

    /// @param baseline  the line's start, in the raster's coordinates; text stands upright in either of them
    void draw(Raster& raster, Vec2 baseline, const Color& color) const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

enum class TextAlignment { left, center, right };

/// A text set into a column: lines break between words, within a word only where it is longer than the column
/// is wide, and where the text has a line break.
///
/// Scripts that run from right to left do so within their lines; left and right mean the column's sides
/// whatever the script. Measures, other typefaces and threads as for TextLine.
class TextBlock {
public:
    /// A longer text is cut: no picture has room for it.
    static constexpr std::size_t longestText = 8192; ///< bytes

    /// @param width  of the column, pixels; finite and positive
    TextBlock(std::string_view text, const TextFont& font, double width,
              TextAlignment alignment = TextAlignment::left);
    ~TextBlock();
    TextBlock(TextBlock&&) noexcept;
    TextBlock& operator=(TextBlock&&) noexcept;

    /// Draws the lines from the top of the rectangle downward, as many as it holds whole, and at least the
    /// first; nothing beyond its edges.
    /// @param rect  in the raster's coordinates, as wide as the column
    void draw(Raster& raster, const Rect& rect, const Color& color) const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
