#include "TavrinKit/Compositing/BackgroundAssetRenderer.h"

#include <algorithm>
#include <array>
#include <exception>
#include <variant>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/HexColor.h"
#include "TavrinKit/Media/StillImageReader.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

/// A wallpaper's accent as the table has it: lengths as fractions of the extent, the radius of its width.
struct AccentRecipe {
    Vec2 center;
    double radius;
    Color color;
};

struct WallpaperRecipe {
    Color baseStart;
    Color baseEnd;
    std::array<AccentRecipe, 2> accents;
};

constexpr WallpaperRecipe aurora{
    {0.03, 0.11, 0.22, 1},
    {0.08, 0.2, 0.39, 1},
    {{{{0.18, 0.82}, 0.55, {0.09, 0.78, 0.72, 0.9}}, {{0.82, 0.28}, 0.48, {0.98, 0.56, 0.38, 0.72}}}}};
constexpr WallpaperRecipe ember{
    {0.15, 0.08, 0.08, 1},
    {0.39, 0.12, 0.06, 1},
    {{{{0.24, 0.26}, 0.62, {1, 0.76, 0.32, 0.76}}, {{0.78, 0.78}, 0.52, {0.89, 0.24, 0.16, 0.68}}}}};
constexpr WallpaperRecipe tide{
    {0.03, 0.14, 0.14, 1},
    {0.09, 0.31, 0.29, 1},
    {{{{0.14, 0.48}, 0.52, {0.27, 0.85, 0.78, 0.72}}, {{0.84, 0.18}, 0.42, {0.55, 0.92, 0.95, 0.58}}}}};
constexpr WallpaperRecipe graphite{
    {0.06, 0.07, 0.1, 1},
    {0.16, 0.18, 0.23, 1},
    {{{{0.2, 0.18}, 0.45, {0.34, 0.39, 0.47, 0.38}}, {{0.72, 0.72}, 0.56, {0.2, 0.23, 0.28, 0.32}}}}};

const WallpaperRecipe& recipe(BuiltInWallpaperStyle id) {
    switch (id) {
    case BuiltInWallpaperStyle::aurora:
        return aurora;
    case BuiltInWallpaperStyle::ember:
        return ember;
    case BuiltInWallpaperStyle::tide:
        return tide;
    case BuiltInWallpaperStyle::graphite:
        return graphite;
    }
    return aurora;
}

template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>; // which not all compilers find by themselves

} // namespace

Image BackgroundAssetRenderer::image(const BackgroundStyle& style, const Rect& extent,
                                     const std::optional<std::filesystem::path>& packageRoot) {
    const auto fallback = [&] {
        return linearGradientImage(fallbackPrimary, fallbackSecondary, extent);
    };
    return std::visit(
        Overloaded{
            [&](const BackgroundStyle::Solid& solid) {
                return Image::color(parseHexColor(solid.colorHex).value_or(fallbackPrimary)).cropped(extent);
            },
            [&](const BackgroundStyle::Gradient& gradient) {
                return linearGradientImage(parseHexColor(gradient.startHex).value_or(fallbackPrimary),
                                           parseHexColor(gradient.endHex).value_or(fallbackSecondary),
                                           extent);
            },
            [&](const BackgroundStyle::Wallpaper& wallpaper) {
                return builtInWallpaperImage(wallpaper.id, extent);
            },
            [&](const BackgroundStyle::Image& picture) {
                const auto url = resolvedImageURL(picture.path, packageRoot);
                const auto loaded = url ? pictureImage(*url, extent) : std::nullopt;
                return loaded ? *loaded : fallback();
            },
        },
        style.content);
}

std::optional<std::filesystem::path>
BackgroundAssetRenderer::resolvedImageURL(std::string_view path,
                                          const std::optional<std::filesystem::path>& packageRoot) {
    const std::string name = trimmed(path);
    if (name.empty()) {
        return {};
    }
    if (name.starts_with('/')) {
        return name;
    }
    return packageRoot ? std::optional(*packageRoot / name) : std::nullopt;
}

Image BackgroundAssetRenderer::builtInWallpaperImage(BuiltInWallpaperStyle id, const Rect& extent) {
    const WallpaperRecipe& wallpaper = recipe(id);
    std::array<WallpaperAccent, 2> accents;
    std::transform(wallpaper.accents.begin(), wallpaper.accents.end(), accents.begin(),
                   [&](const AccentRecipe& accent) {
                       return WallpaperAccent{{extent.minX() + extent.width * accent.center.x,
                                               extent.minY() + extent.height * accent.center.y},
                                              extent.width * accent.radius,
                                              accent.color};
                   });
    return layeredWallpaper(extent, wallpaper.baseStart, wallpaper.baseEnd, accents);
}

Image BackgroundAssetRenderer::layeredWallpaper(const Rect& extent, const Color& baseStart,
                                                const Color& baseEnd,
                                                std::span<const WallpaperAccent> accents) {
    Image result = linearGradientImage(baseStart, baseEnd, extent);
    for (const WallpaperAccent& accent : accents) {
        const Color faded{accent.color.r, accent.color.g, accent.color.b, 0};
        result = softDisc(accent.center, 0, accent.color, std::max(accent.radius, 1.0), faded, extent)
                     .over(result);
    }
    return result;
}

Image BackgroundAssetRenderer::linearGradientImage(const Color& start, const Color& end, const Rect& extent) {
    return Image::linearGradient({extent.minX(), extent.minY()}, start, {extent.maxX(), extent.maxY()}, end)
        .cropped(extent);
}

std::optional<Image> BackgroundAssetRenderer::pictureImage(const std::filesystem::path& url,
                                                           const Rect& extent) {
    try {
        return fill(Image::pixels(readStillImage(url)), extent);
    } catch (const std::exception&) {
        logRecoverableFailure("TavrinKit.BackgroundAssetRenderer", "image", std::current_exception(),
                              {{"path", url.string()}});
        return {};
    }
}

} // namespace tavrin
