#pragma once

#include <filesystem>
#include <optional>

#include "TavrinKit/Compositing/PixelGrid.h"
#include "TavrinKit/Compositing/RecentlyUsed.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/WatermarkStyle.h"

namespace tavrin {

/// Draws the text or the picture that marks the whole output.
///
/// The mark is made once for a size of frame. One that cannot be made is left out, a picture that cannot be
/// read with one line in the log. Any thread.
class WatermarkLayer {
public:
    WatermarkLayer(WatermarkStyle style, std::optional<std::filesystem::path> packageRoot);

    /// @param frame  the part of the image that will be seen, to which the mark is anchored
    [[nodiscard]] Image overlayWatermark(const Image& image, const Rect& frame, const PixelGrid& grid) const;

    /// @param sourceAspect  of the mark, width / height
    [[nodiscard]] static Rect watermarkRect(const Rect& frame, const WatermarkStyle& style,
                                            double sourceAspect);

private:
    struct Key {
        Rect frame;
        PixelGrid grid;
        friend bool operator==(const Key&, const Key&) = default;
    };

    [[nodiscard]] Image makeMark(const Rect& frame, const PixelGrid& grid) const;
    [[nodiscard]] Image textMark(const Rect& frame, const PixelGrid& grid) const;
    [[nodiscard]] Image pictureMark(const Rect& frame, const PixelGrid& grid) const;

    WatermarkStyle style_;
    std::optional<std::filesystem::path> packageRoot_;
    mutable RecentlyUsed<Key, Image> marks_{4};
};

} // namespace tavrin
