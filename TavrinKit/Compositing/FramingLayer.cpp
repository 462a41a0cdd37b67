#include "TavrinKit/Compositing/FramingLayer.h"

#include <algorithm>

#include "TavrinKit/Compositing/BackgroundAssetRenderer.h"
#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/OverlayMapping.h"
#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

constexpr double largestShadowBlur = 48;

/// A shadow that far away isn't seen, and sums with its offset are still exact.
constexpr double farthestShadow = 1e5;

double offset(double length) {
    return std::clamp(finiteOr(length, 0), -farthestShadow, farthestShadow);
}

Image softShadow(const Image& shape, const ShadowStyle& style) {
    const double opacity = std::clamp(finiteOr(style.opacity, 0), 0.0, 1.0);
    return shape.colorMatrix(ColorMatrix::shadow(opacity))
        .translated(offset(style.offsetX), -offset(style.offsetY))
        .blurred(std::min(finiteOr(style.blurRadius, 0), largestShadowBlur));
}

} // namespace

FramingLayer::FramingLayer(FramingStyle style, std::optional<std::filesystem::path> packageRoot)
    : style_(std::move(style)), packageRoot_(std::move(packageRoot)) {}

Image FramingLayer::applyFraming(const Image& image) const {
    const Rect& extent = image.extent();
    if (image.isEmpty()) {
        return image;
    }
    const double padding = framingPadding(style_, extent);
    if (!(padding > 0)) {
        return applyCornerRadius(image, finiteOr(style_.cornerRadius, 0), extent);
    }
    const Rect inner = extent.inset(padding, padding);
    const double cornerRadius =
        std::min(finiteOr(style_.cornerRadius, 0), std::min(inner.width, inner.height) / 2);
    const Image rounded = applyCornerRadius(fit(image, inner), cornerRadius, inner);
    return rounded.over(backdrops_.value(extent, [&] { return makeBackdrop(extent, inner, cornerRadius); }));
}

Image FramingLayer::makeBackdrop(const Rect& extent, const Rect& inner, double cornerRadius) const {
    // A recording is opaque and fills `inner`: its rounded content casts the shadow of the plain shape, which
    // is the same in every frame.
    const Image shape = Image::roundedRectangle(inner, std::max(cornerRadius, 0.0), {0, 0, 0, 1});
    const Image background = BackgroundAssetRenderer::image(style_.background, extent, packageRoot_);
    return softShadow(shape, style_.shadow).cropped(extent).over(background);
}

} // namespace tavrin
