#include "TavrinKit/Compositing/WatermarkLayer.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/OverlayPicture.h"
#include "TavrinKit/Imaging/Text.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr const char* service = "TavrinKit.WatermarkLayer";
constexpr double shadowDeviation = 2.8;
constexpr Vec2 shadowOffset{1.6, -1.6};
constexpr double longestTextSide = 4096; ///< pixels of the bitmap

/// A line of text in a space of its own, whose origin is the lower left corner of its bitmap.
struct TextMark {
    TextLine line;
    Vec2 baseline;
    Size2D size;
};

TextMark measured(const std::string& text, double frameWidth) {
    const double fontSize = clampedTo(frameWidth * 0.022, 14, 52);
    const double px = std::max(fontSize * 0.42, 8.0);
    const double py = std::max(fontSize * 0.22, 6.0);
    TextLine line(text, {fontSize, FontWeight::semibold});
    const Size2D size{std::max(std::ceil(line.width() + 2 * px), 4.0),
                      std::max(std::ceil(line.ascent() + line.descent() + 2 * py), 4.0)};
    const Vec2 baseline{px, py + line.descent() * 0.25};
    return {std::move(line), baseline, size};
}

/// The text with the lower left corner of its bitmap at the origin, drawn on a grid of that space.
Image watermarkTextImage(const TextMark& mark, PixelGrid grid) {
    const double longest = std::max(mark.size.width * grid.scale.x, mark.size.height * grid.scale.y);
    grid.scale = grid.scale * std::min(1.0, longestTextSide / longest);
    const Rect bounds{0, 0, mark.size.width, mark.size.height};
    Raster raster = grid.raster(bounds);
    mark.line.draw(raster, mark.baseline, {1, 1, 1, 1});
    return raster.image().cropped(bounds);
}

Image withShadow(const Image& mark, double opacity, const Rect& frame) {
    const Image shadow = mark.colorMatrix(ColorMatrix::shadow(std::min(opacity * 0.45, 0.55)))
                             .translated(shadowOffset.x, shadowOffset.y);
    return mark.over(applyGaussianBlur(shadow, shadowDeviation).cropped(frame));
}

} // namespace

WatermarkLayer::WatermarkLayer(WatermarkStyle style, std::optional<std::filesystem::path> packageRoot)
    : style_(std::move(style)), packageRoot_(std::move(packageRoot)) {}

Image WatermarkLayer::overlayWatermark(const Image& image, const Rect& frame, const PixelGrid& grid) const {
    if (!style_.enabled || !(style_.opacity > 0.01) || image.isEmpty()) {
        return image;
    }
    return marks_.value({frame, grid}, [&] { return makeMark(frame, grid); })
        .cropped(image.extent())
        .over(image);
}

Rect WatermarkLayer::watermarkRect(const Rect& frame, const WatermarkStyle& style, double sourceAspect) {
    const double w = frame.width * style.widthFraction;
    const double h = w / std::max(sourceAspect, 0.1);
    const double m = style.marginFraction * std::min(frame.width, frame.height);
    const double left = frame.minX() + m;
    const double right = frame.maxX() - m - w;
    const double low = frame.minY() + m;
    const double high = frame.maxY() - m - h;
    switch (style.anchor) {
    case WatermarkAnchor::topLeft:
        return {left, high, w, h};
    case WatermarkAnchor::topRight:
        return {right, high, w, h};
    case WatermarkAnchor::bottomLeft:
        return {left, low, w, h};
    case WatermarkAnchor::bottomRight:
        return {right, low, w, h};
    case WatermarkAnchor::center:
        return {frame.midX() - w / 2, frame.midY() - h / 2, w, h};
    }
    return {right, low, w, h};
}

Image WatermarkLayer::makeMark(const Rect& frame, const PixelGrid& grid) const {
    try {
        const Image fitted =
            (style_.kind == WatermarkKind::text ? textMark(frame, grid) : pictureMark(frame, grid))
                .cropped(frame);
        const Image mark = applyingOpacity(fitted, style_.opacity);
        return grid.drawn(style_.shadowEnabled ? withShadow(mark, style_.opacity, frame) : mark);
    } catch (const std::exception&) {
        logRecoverableFailure(service, "overlayWatermark", std::current_exception());
        return {};
    }
}

Image WatermarkLayer::textMark(const Rect& frame, const PixelGrid& grid) const {
    const std::string text = trimmed(style_.text);
    if (text.empty()) {
        return {};
    }
    const TextMark mark = measured(text, frame.width);
    const Rect rect = watermarkRect(frame, style_, aspectOf(mark.size));
    if (!isDrawable(rect)) {
        return {};
    }
    const double scale = std::min(rect.width / mark.size.width, rect.height / mark.size.height);
    const Vec2 corner{rect.midX() - mark.size.width * scale / 2, rect.midY() - mark.size.height * scale / 2};
    return fit(watermarkTextImage(mark, grid.within(scale, corner)), rect);
}

Image WatermarkLayer::pictureMark(const Rect& frame, const PixelGrid& grid) const {
    const double longestSide = std::max(frame.width * grid.scale.x, frame.height * grid.scale.y);
    const auto picture = watermarkImage(style_.imagePath, packageRoot_, longestSide, service);
    if (!picture || picture->isEmpty()) {
        return {};
    }
    const Rect& extent = picture->extent();
    const Rect rect = watermarkRect(frame, style_, aspectOf(extent.size()));
    return isDrawable(rect) ? fit(*picture, rect) : Image();
}

} // namespace tavrin
