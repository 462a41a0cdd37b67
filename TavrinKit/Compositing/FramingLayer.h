#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/FramingStyle.h"
#include "TavrinKit/Support/Guarded.h"

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
    /// What lies under the recording in a frame of this extent.
    struct Backdrop {
        Rect extent;
        Image image; ///< background and shadow
    };

    [[nodiscard]] Image backdrop(const Rect& extent, const Rect& inner, double cornerRadius) const;
    [[nodiscard]] Image makeBackdrop(const Rect& extent, const Rect& inner, double cornerRadius) const;

    FramingStyle style_;
    std::optional<std::filesystem::path> packageRoot_;
    mutable Guarded<std::shared_ptr<const Backdrop>> backdrop_;
};

} // namespace tavrin
