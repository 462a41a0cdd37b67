#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/FramingStyle.h"

namespace tavrin {

/// Turns a background style into the image behind a framed recording.
///
/// It always gives an image: a colour that cannot be read and a picture that is gone fall back on fixed
/// colours, so that they never stop an export. Wallpapers are recipes, computed for the extent, and sharp at
/// any size. A picture is read from its file on every call: keep the image. Any thread.
class BackgroundAssetRenderer {
public:
    /// A soft disc of colour on a wallpaper.
    struct WallpaperAccent {
        Vec2 center;       ///< pixels
        double radius = 0; ///< pixels; where the colour has faded to nothing
        Color color;
    };

    static constexpr Color fallbackPrimary{0.07, 0.1, 0.2, 1};
    static constexpr Color fallbackSecondary{0.2, 0.3, 0.45, 1};

    /// @param packageRoot  where relative picture paths start
    [[nodiscard]] static Image image(const BackgroundStyle& style, const Rect& extent,
                                     const std::optional<std::filesystem::path>& packageRoot);

    /// The file that a style's path means; nothing for a blank path, and for a relative one without a root.
    [[nodiscard]] static std::optional<std::filesystem::path>
    resolvedImageURL(std::string_view path, const std::optional<std::filesystem::path>& packageRoot);

private:
    [[nodiscard]] static Image builtInWallpaperImage(BuiltInWallpaperStyle id, const Rect& extent);
    [[nodiscard]] static Image layeredWallpaper(const Rect& extent, const Color& baseStart,
                                                const Color& baseEnd,
                                                std::span<const WallpaperAccent> accents);
    [[nodiscard]] static Image linearGradientImage(const Color& start, const Color& end, const Rect& extent);
    [[nodiscard]] static std::optional<Image> pictureImage(const std::filesystem::path& url,
                                                           const Rect& extent);
};

} // namespace tavrin
