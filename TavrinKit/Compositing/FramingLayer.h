#pragma once

#include <filesystem>
#include <optional>

#include "TavrinKit/Compositing/RecentlyUsed.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/FramingStyle.h"

namespace tavrin {

/// Puts the recording on its background: scaled into the frame less a margin, with round corners and a soft
/// shadow.
///
/// Everything but the recording itself is made once for a size of frame and shared by all its frames. Any
/// thread.
class FramingLayer {
public:
    FramingLayer(FramingStyle style, std::optional<std::filesystem::path> packageRoot);

    [[nodiscard]] const FramingStyle& style() const { return style_; }

    /// @return an image of the same extent. Without padding there is neither background nor shadow, and the
    ///         corners are cut to transparent.
    [[nodiscard]] Image applyFraming(const Image& image) const;

private:
    /// Background and shadow of a frame of this extent.
    [[nodiscard]] Image makeBackdrop(const Rect& extent, const Rect& inner, double cornerRadius) const;

    FramingStyle style_;
    std::optional<std::filesystem::path> packageRoot_;
    mutable RecentlyUsed<Rect, Image> backdrops_{1}; ///< by the extent
};

} // namespace tavrin
