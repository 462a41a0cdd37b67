#include "TavrinKit/Compositing/FramingLayer.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Compositing/BackgroundAssetRenderer.h"
#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/OverlayMapping.h"

namespace tavrin {
namespace {

constexpr double largestShadowBlur = 48;

/// A shadow that far away isn't seen, and sums with its offset are still exact.
constexpr double farthestShadow = 1e5;

double offset(double length) {
    return std::isfinite(length) ? std::clamp(length, -farthestShadow, farthestShadow) : 0;
}

double finiteOrZero(double number) {
    return std::isfinite(number) ? number : 0;
}

Image softShadow(const Image& shape, const ShadowStyle& style) {
    const double opacity = std::clamp(finiteOrZero(style.opacity), 0.0, 1.0);
    return shape.colorMatrix(ColorMatrix::shadow(opacity))
        .translated(offset(style.offsetX), -offset(style.offsetY))
        .blurred(std::min(finiteOrZero(style.blurRadius), largestShadowBlur));
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
        return applyCornerRadius(image, finiteOrZero(style_.cornerRadius), extent);
    }
    const Rect inner = extent.inset(padding, padding);
    const double cornerRadius =
        std::min(finiteOrZero(style_.cornerRadius), std::min(inner.width, inner.height) / 2);
    const Image rounded = applyCornerRadius(fit(image, inner), cornerRadius, inner);
    return rounded.over(backdrop(extent, inner, cornerRadius));
}

Image FramingLayer::backdrop(const Rect& extent, const Rect& inner, double cornerRadius) const {
    const auto kept = backdrop_.copy();
    if (kept && kept->extent == extent) {
        return kept->image;
    }
    const auto made =
        std::make_shared<const Backdrop>(Backdrop{extent, makeBackdrop(extent, inner, cornerRadius)});
    return backdrop_.with([&](std::shared_ptr<const Backdrop>& current) {
        // Of several threads that made one at the start, all go on with the first.
        if (!current || current->extent != extent) {
            current = made;
        }
        return current->image;
    });
}

Image FramingLayer::makeBackdrop(const Rect& extent, const Rect& inner, double cornerRadius) const {
    // A recording is opaque and fills `inner`: its rounded content casts the shadow of the plain shape, which
    // is the same in every frame.
    const Image shape = Image::roundedRectangle(inner, std::max(cornerRadius, 0.0), {0, 0, 0, 1});
    const Image background = BackgroundAssetRenderer::image(style_.background, extent, packageRoot_);
    return softShadow(shape, style_.shadow).cropped(extent).over(background);
}

} // namespace tavrin
