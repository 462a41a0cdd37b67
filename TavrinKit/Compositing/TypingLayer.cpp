#include "TavrinKit/Compositing/TypingLayer.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr double chipSpacing = 8;
constexpr double panelSidePadding = 18;
constexpr double panelHeightPadding = 24;
constexpr double emptyPanelHeight = 58;
constexpr double widestPanel = 820;
constexpr double bitmapMargin = 2; ///< around the panel; the bitmap's corner is what is placed
constexpr double panelLineWidth = 1.1;
constexpr double chipLineWidth = 1;
constexpr double shadowRise = 3;
constexpr double shadowDeviation = 5; ///< what looks like a blur of 10
constexpr double glowDeviation = 5;
constexpr std::size_t longTextFrom = 19; ///< characters
constexpr Color textColor{0.97, 0.99, 1, 1};
constexpr Color panelFill{0.03, 0.07, 0.11, 0.82};
constexpr Color panelStroke{0.78, 0.92, 1, 0.26};
constexpr double panelShadowOpacity = 0.48;

/// How a chip of a role looks at no emphasis, and what full emphasis adds.
struct ChipLook {
    Color fill;
    Color fillRise;
    Color stroke;
    double strokeRise;
    double sidePadding;
};

constexpr ChipLook typedTextLook{
    {0.16, 0.43, 0.63, 0.84}, {0.08, 0.18, 0.22, 0.13}, {0.66, 0.89, 1, 0.72}, 0.2, 32};
constexpr ChipLook keycapLook{
    {0.22, 0.28, 0.34, 0.65}, {0.12, 0.18, 0.22, 0.24}, {0.9, 0.97, 1, 0.28}, 0.26, 26};
constexpr ChipLook modifierLook{{0.32, 0.36, 0.42, 0.68}, {0.16, 0.16, 0.19, 0.22}, {1, 1, 1, 0.3}, 0.18, 22};

const ChipLook& look(TypingChipRole role) {
    switch (role) {
    case TypingChipRole::typedText:
        return typedTextLook;
    case TypingChipRole::keycap:
        return keycapLook;
    case TypingChipRole::modifier:
        return modifierLook;
    }
    return keycapLook;
}

const std::string& shownText(const TypingChipState& chip) {
    static const std::string unknown = "?";
    return chip.text.empty() ? unknown : chip.text;
}

double fontFactor(const TypingChipState& chip) {
    if (chip.role != TypingChipRole::typedText) {
        return 0.9;
    }
    return characterCount(shownText(chip)) < longTextFrom ? 0.92 : 0.82;
}

double panelRadius(const Rect& panel) {
    return std::min(panel.height * 0.5, 20.0);
}

double chipRadius(const Rect& chip) {
    return std::min(chip.height * 0.5, 12.0);
}

/// A white shape in another colour.
Image tinted(const Image& white, const Color& color) {
    return white.colorMatrix(
        {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, color.a}, {color.r, color.g, color.b}});
}

Color withAlpha(const Color& color, double factor) {
    return {color.r, color.g, color.b, color.a * factor};
}

/// A bitmap of what `draw` draws around `bounds`, as far as it lies in the frame.
template <typename Draw>
Image bitmap(const Rect& bounds, const Rect& frame, const PixelGrid& grid, const Draw& draw) {
    const Rect seen = bounds.intersection(frame);
    if (seen.isEmpty()) {
        return {};
    }
    Raster raster = grid.raster(seen);
    draw(raster);
    return raster.image();
}

Image outlineImage(const Rect& rect, double radius, double lineWidth, const Rect& frame,
                   const PixelGrid& grid) {
    const Rect bounds = rect.inset(-lineWidth, -lineWidth);
    return bitmap(bounds, frame, grid, [&](Raster& raster) {
        raster.strokeRoundedRectangle(rect, radius, lineWidth, {1, 1, 1, 1});
    });
}

Image textImage(const TypingMeasuredChip& measured, const Rect& chip, const Rect& frame,
                const PixelGrid& grid) {
    const Vec2 baseline{chip.minX() + (chip.width - measured.lineWidth) / 2,
                        chip.midY() - (measured.ascent + measured.descent) / 2 + measured.descent * 0.35};
    // Ink may reach beyond what a line measures.
    const Rect bounds = Rect{chip.minX(), baseline.y - 2 * measured.descent, chip.width,
                             measured.ascent + 3 * measured.descent};
    return bitmap(bounds, frame, grid,
                  [&](Raster& raster) { measured.line.draw(raster, baseline, textColor); });
}

/// Blurred at a quarter of the size, which so wide a blur doesn't show: it is made anew in every frame in
/// which a key pops.
Image glow(const Image& panel, double opacity) {
    constexpr double scale = 0.25;
    const ColorMatrix tint{
        {0.4, 0, 0, 0}, {0, 0.8, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, opacity * 0.22}, {0, 0, 0}};
    return panel.transformed(AffineTransform::scale(scale, scale))
        .blurred(glowDeviation * scale)
        .colorMatrix(tint)
        .transformed(AffineTransform::scale(1 / scale, 1 / scale));
}

} // namespace

Image TypingLayer::overlayTyping(const Image& image, const TypingFrameState& state, const Rect& frame,
                                 const PixelGrid& grid) const {
    if (!state.visible || !(state.opacity > 0.01) || state.chips.empty() || image.isEmpty()) {
        return image;
    }
    const double opacity = std::min(state.opacity, 1.0);
    const auto made = panel(state, frame, grid);
    const Image panelImage = typingPanelImage(state, *made, opacity);
    const Image shadow =
        made->shadow.colorMatrix(ColorMatrix::opacity(opacity * panelShadowOpacity * panelFill.a * opacity));
    return panelImage.over(shadow).cropped(frame).over(glow(panelImage, opacity).cropped(frame).over(image));
}

double TypingLayer::baseFontSize(double frameWidth) {
    return clampedTo(frameWidth * 0.018, 14, 24);
}

TypingMeasuredChip TypingLayer::measureTypingChip(const TypingChipState& chip, double baseFontSize) {
    const double fontSize = baseFontSize * fontFactor(chip);
    TypingMeasuredChip measured{chip, TextLine(shownText(chip), {fontSize, FontWeight::semibold})};
    measured.lineWidth = measured.line.width();
    measured.ascent = measured.line.ascent();
    measured.descent = measured.line.descent();
    measured.chipWidth = std::max(std::ceil(measured.lineWidth + look(chip.role).sidePadding), 34.0);
    measured.chipHeight = std::max(std::ceil(fontSize + 14), 32.0);
    return measured;
}

TypingLayer::Layout TypingLayer::layout(const std::vector<TypingMeasuredChip>& chips, const Rect& frame) {
    const auto contentWidth = [&](std::size_t first) {
        double width = 0;
        for (std::size_t i = first; i < chips.size(); ++i) {
            width += chips[i].chipWidth + (i > first ? chipSpacing : 0);
        }
        return width;
    };
    const double widest = std::min(frame.width * 0.82, widestPanel);
    Layout result;
    while (result.firstChip + 1 < chips.size() &&
           contentWidth(result.firstChip) + 2 * panelSidePadding > widest) {
        ++result.firstChip;
    }

    double tallest = emptyPanelHeight - panelHeightPadding;
    if (!chips.empty()) {
        tallest = 0;
        for (std::size_t i = result.firstChip; i < chips.size(); ++i) {
            tallest = std::max(tallest, chips[i].chipHeight);
        }
    }
    const double width = contentWidth(result.firstChip) + 2 * panelSidePadding;
    result.panel = {frame.midX() - width / 2 + bitmapMargin,
                    frame.minY() + std::max(frame.height * 0.055, 18.0) + bitmapMargin, width,
                    tallest + panelHeightPadding};

    double x = result.panel.minX() + panelSidePadding;
    for (std::size_t i = result.firstChip; i < chips.size(); ++i) {
        const TypingMeasuredChip& chip = chips[i];
        result.chips.push_back(
            {x, result.panel.midY() - chip.chipHeight / 2, chip.chipWidth, chip.chipHeight});
        x += chip.chipWidth + chipSpacing;
    }
    return result;
}

std::shared_ptr<const TypingLayer::Panel> TypingLayer::panel(const TypingFrameState& state, const Rect& frame,
                                                             const PixelGrid& grid) const {
    PanelKey key{{}, frame, grid};
    for (const TypingChipState& chip : state.chips) {
        key.chips.emplace_back(chip.role, chip.text);
    }
    return panels_.value(key, [&] { return std::make_shared<const Panel>(makePanel(state, frame, grid)); });
}

TypingLayer::Panel TypingLayer::makePanel(const TypingFrameState& state, const Rect& frame,
                                          const PixelGrid& grid) {
    const double fontSize = baseFontSize(frame.width);
    std::vector<TypingMeasuredChip> chips;
    for (const TypingChipState& chip : state.chips) {
        chips.push_back(measureTypingChip(chip, fontSize));
    }
    Panel made;
    made.layout = layout(chips, frame);
    const Rect& rect = made.layout.panel;
    made.outline = outlineImage(rect, panelRadius(rect), panelLineWidth, frame, grid);
    made.shadow = Image::roundedRectangle(rect, panelRadius(rect), {0, 0, 0, 1})
                      .translated(0, shadowRise)
                      .blurred(shadowDeviation);
    for (std::size_t i = 0; i < made.layout.chips.size(); ++i) {
        const Rect& chip = made.layout.chips[i];
        made.chipOutlines.push_back(outlineImage(chip, chipRadius(chip), chipLineWidth, frame, grid));
        made.chipTexts.push_back(textImage(chips[made.layout.firstChip + i], chip, frame, grid));
    }
    return made;
}

Image TypingLayer::typingPanelImage(const TypingFrameState& state, const Panel& panel, double opacity) {
    const Rect& rect = panel.layout.panel;
    Image result = tinted(panel.outline, withAlpha(panelStroke, opacity))
                       .over(Image::roundedRectangle(rect, panelRadius(rect), withAlpha(panelFill, opacity)));
    for (std::size_t i = 0; i < panel.layout.chips.size(); ++i) {
        result = drawTypingChip(result, state.chips[panel.layout.firstChip + i], panel, i, opacity);
    }
    return result;
}

Image TypingLayer::drawTypingChip(const Image& panelImage, const TypingChipState& chip, const Panel& panel,
                                  std::size_t index, double panelOpacity) {
    const ChipLook& role = look(chip.role);
    const double e = clampedTo(chip.emphasis, 0, 1);
    const Color fill{role.fill.r + role.fillRise.r * e, role.fill.g + role.fillRise.g * e,
                     role.fill.b + role.fillRise.b * e, panelOpacity * (role.fill.a + role.fillRise.a * e)};
    const Color stroke{role.stroke.r, role.stroke.g, role.stroke.b,
                       panelOpacity * (role.stroke.a + role.strokeRise * e)};
    const Rect& rect = panel.layout.chips[index];
    const Image body = Image::roundedRectangle(rect, chipRadius(rect), fill).over(panelImage);
    return panel.chipTexts[index].over(tinted(panel.chipOutlines[index], stroke).over(body));
}

} // namespace tavrin
