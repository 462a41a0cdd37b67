#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Imaging/Raster.h"

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

} // namespace tavrin
