#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TavrinKit/Compositing/PixelGrid.h"
#include "TavrinKit/Compositing/RecentlyUsed.h"
#include "TavrinKit/Effects/TypingFrameState.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Imaging/Text.h"

namespace tavrin {

/// A chip whose text has been set: how much room it takes. Lengths in pixels of the frame.
struct TypingMeasuredChip {
    TypingChipState chip;
    TextLine line;
    double lineWidth = 0;
    double ascent = 0;
    double descent = 0;
    double chipWidth = 0;
    double chipHeight = 0;
};

/// Draws the typing overlay at the foot of the frame: a dark panel with a row of chips and a soft glow.
///
/// Shapes and texts are drawn once for a row of texts; emphasis and opacity only colour them, so that a
/// panel whose chips pop or fade costs no new bitmap. Any thread.
class TypingLayer {
public:
    /// @param frame  the part of the image that will be seen, in whose middle the panel stands
    [[nodiscard]] Image overlayTyping(const Image& image, const TypingFrameState& state, const Rect& frame,
                                      const PixelGrid& grid) const;

    /// The size of type from which that of the chips comes, for a frame of this width.
    [[nodiscard]] static double baseFontSize(double frameWidth);
    [[nodiscard]] static TypingMeasuredChip measureTypingChip(const TypingChipState& chip,
                                                              double baseFontSize);

    /// Where a panel and its chips stand.
    struct Layout {
        Rect panel;
        std::size_t firstChip = 0; ///< the older ones had no room
        std::vector<Rect> chips;   ///< from `firstChip` on
    };
    [[nodiscard]] static Layout layout(const std::vector<TypingMeasuredChip>& chips, const Rect& frame);

private:
    /// All of a panel that its chips' texts decide.
    struct Panel {
        Layout layout;
        Image outline;                   ///< of the panel, white
        Image shadow;                    ///< of the panel, black
        std::vector<Image> chipOutlines; ///< white
        std::vector<Image> chipTexts;
    };
    struct PanelKey {
        std::vector<std::pair<TypingChipRole, std::string>> chips;
        Rect frame;
        PixelGrid grid;
        friend bool operator==(const PanelKey&, const PanelKey&) = default;
    };

    [[nodiscard]] std::shared_ptr<const Panel> panel(const TypingFrameState& state, const Rect& frame,
                                                     const PixelGrid& grid) const;
    [[nodiscard]] static Panel makePanel(const TypingFrameState& state, const Rect& frame,
                                         const PixelGrid& grid);
    [[nodiscard]] static Image typingPanelImage(const TypingFrameState& state, const Panel& panel,
                                                double opacity);
    [[nodiscard]] static Image drawTypingChip(const Image& panelImage, const TypingChipState& chip,
                                              const Panel& panel, std::size_t index, double panelOpacity);

    mutable RecentlyUsed<PanelKey, std::shared_ptr<const Panel>> panels_{16};
};

} // namespace tavrin
