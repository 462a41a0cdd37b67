#include "TavrinKit/Compositing/CursorLayer.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/RingBitmap.h"
#include "TavrinKit/Imaging/PNG.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Project/CursorGlyph.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {
namespace {

/// How a sprite lies over the picture.
struct SpritePlacement {
    Vec2 lowerLeft;
    double shadowOpacity;
    Vec2 shadowOffset;
};

constexpr Vec2 recordedShadowOffset{1.6, -1.2};
constexpr Vec2 glyphShadowOffset{1.4, -1.0};
constexpr double recordedShadowOpacity = 0.34;
constexpr double glyphShadowOpacity = 0.36;

/// The length from which the sizes of everything but the sprites are drawn.
double baseLength(const CursorFrameState& state) {
    return std::max(3.0, state.sizeMultiplier * 5.5);
}

double spriteScale(const CursorFrameState& state) {
    return clampedTo(state.sizeMultiplier, 0.5, 4);
}

Image overlaySprite(const Image& image, const Image& sprite, const SpritePlacement& placement,
                    double opacity) {
    const Vec2 at = placement.lowerLeft;
    const Vec2 below = at + placement.shadowOffset;
    const Image shadow =
        sprite.translated(below.x, below.y).colorMatrix(ColorMatrix::shadow(placement.shadowOpacity));
    const Image withShadow = applyingOpacity(shadow, opacity).cropped(image.extent()).over(image);
    return applyingOpacity(sprite.translated(at.x, at.y), opacity).cropped(image.extent()).over(withShadow);
}

/// From the lower left of the glyph's sprite.
Vec2 glyphHotSpot(CursorGlyphKind glyph, const Rect& sprite) {
    if (CursorGlyph::usesTopLeftTipHotspot(glyph)) {
        return {1, std::max(sprite.height - 1, 1.0)};
    }
    return {sprite.width / 2, sprite.height / 2};
}

} // namespace

Image CursorLayer::overlayCursor(const Image& image, const CursorFrameState& state,
                                 const OverlayMapping& mapping) const {
    Image result = image;
    if (!state.trailPoints.empty() && state.trailPoints.size() == state.trailOpacities.size()) {
        result = overlayCursorTrail(result, state, mapping);
    }
    if (!state.visible || !(clampedTo(state.opacity, 0, 1) > 0.01)) {
        return result;
    }
    if (state.bodyVisible) {
        const Vec2 point = mapping.map(state.position);
        result = state.bodyStyle == CursorBodyStyle::touch ? overlayTouchBody(result, state, point)
                                                           : overlayPointerBody(result, state, point);
    }
    return overlayClickHighlight(result, state, mapping.map(state.highlightPosition));
}

Image CursorLayer::overlayCursorTrail(const Image& image, const CursorFrameState& state,
                                      const OverlayMapping& mapping) const {
    const std::size_t count = std::min(state.trailPoints.size(), state.trailOpacities.size());
    const bool isTouch = state.bodyStyle == CursorBodyStyle::touch;
    Image result = image;
    for (std::size_t i = 0; i < count; ++i) {
        const double p = count > 1 ? double(i) / double(count - 1) : 1;
        const double alpha = state.trailOpacities[i] * (0.35 + p * 0.65);
        if (!(alpha >= 0.01)) {
            continue;
        }
        const double a = std::min(alpha, 1.0) * 0.5;
        const Color color = isTouch ? Color{1, 1, 1, a} : Color{0.4 + p * 0.35, 0.75 + p * 0.2, 1, a};
        const Color edge = isTouch ? Color{1, 1, 1, 0} : Color{0.35, 0.72, 1, 0};
        const double thickness = isTouch ? 1.45 : 1;
        const double radius = std::max(0.8, thickness * (0.8 + p * 1.8) * state.sizeMultiplier);
        const Vec2 point = mapping.map(state.trailPoints[i]);
        result = softDisc(point, radius, color, radius * (1.7 + p), edge, image.extent()).over(result);
    }
    return result;
}

Image CursorLayer::overlayTouchBody(const Image& image, const CursorFrameState& state, Vec2 point) const {
    const double base = baseLength(state);
    const double opacity = clampedTo(state.opacity, 0, 1);
    const Image glow = softDisc(point, base * 0.2, {1, 1, 1, opacity * 0.98}, base * 1.35, {0.28, 0.74, 1, 0},
                                image.extent());
    return overlayRing(glow.over(image), point, base * 0.9, base * 1.45, {1, 1, 1, opacity * 0.62});
}

Image CursorLayer::overlayPointerBody(const Image& image, const CursorFrameState& state, Vec2 point) const {
    const double opacity = clampedTo(state.opacity, 0, 1);
    if (const auto sprite = recordedSprite(state)) {
        const Vec2 lowerLeft = point - state.appearance->hotSpot() * state.sizeMultiplier;
        return overlaySprite(image, *sprite, {lowerLeft, recordedShadowOpacity, recordedShadowOffset},
                             opacity);
    }
    if (const auto sprite = glyphSprite(state)) {
        const Vec2 lowerLeft = point - glyphHotSpot(state.glyph, sprite->extent());
        return overlaySprite(image, *sprite, {lowerLeft, glyphShadowOpacity, glyphShadowOffset}, opacity);
    }
    const double base = baseLength(state);
    return softDisc(point, base * 0.35, {1, 1, 1, opacity * 0.95}, base, {1, 1, 1, 0}, image.extent())
        .over(image);
}

Image CursorLayer::overlayClickHighlight(const Image& image, const CursorFrameState& state,
                                         Vec2 point) const {
    const double base = baseLength(state);
    const double strength =
        clampedTo(clampedTo(state.opacity, 0, 1) * state.highlightProgress * state.highlightIntensity, 0, 1);
    const double growth = 1 + 1.1 * (1 - state.highlightProgress);
    switch (state.highlight) {
    case ClickHighlightStyle::none:
        return image;
    case ClickHighlightStyle::ring:
        return overlayRing(image, point, base * (1 + growth * 0.45), base * (1.8 + growth * 1.2),
                           {0.28, 0.74, 1, strength * 0.88});
    case ClickHighlightStyle::halo:
        return softDisc(point, base * (0.35 + growth * 0.25), {0.28, 0.74, 1, strength * 0.55},
                        base * (2.1 + growth * 1.8), {0.3, 0.72, 1, 0}, image.extent())
            .over(image);
    }
    return image;
}

std::optional<Image> CursorLayer::recordedSprite(const CursorFrameState& state) const {
    if (!state.appearance) {
        return {};
    }
    const CursorAppearance& appearance = *state.appearance;
    return sprites_->sprite("raw:" + appearance.identifier(), spriteScale(state),
                            [&](double scale) { return makeCursorSprite(appearance, scale); });
}

std::optional<Image> CursorLayer::glyphSprite(const CursorFrameState& state) const {
    return sprites_->sprite("vector:" + std::string(nameOf(state.glyph)), spriteScale(state),
                            [&](double scale) { return makeCursorSprite(state.glyph, scale); });
}

std::optional<Image> CursorLayer::makeCursorSprite(const CursorAppearance& appearance,
                                                   double sizeMultiplier) {
    const auto pixels = decodePNG(appearance.pngData());
    if (!pixels) {
        return {};
    }
    const double width = std::max(appearance.pixelSize().x * sizeMultiplier, 1.0);
    const double height = std::max(appearance.pixelSize().y * sizeMultiplier, 1.0);
    if (!std::isfinite(width) || !std::isfinite(height)) {
        return {};
    }
    return Image::pixels(*pixels).transformed(
        AffineTransform::scale(width / pixels->size().width, height / pixels->size().height));
}

std::optional<Image> CursorLayer::makeCursorSprite(CursorGlyphKind kind, double sizeMultiplier) {
    const int side = std::max(int(std::lround(sizeMultiplier * 44)), 40);
    const VectorPath& path = CursorGlyph::path(kind);
    const Rect box = path.boundingBox();
    if (box.isEmpty()) {
        return {};
    }
    const double s = side * 0.76 / std::max(box.height, 1.0);
    const AffineTransform placement{s, 0, 0, s, 2 - box.minX() * s, 2 - box.minY() * s};
    Raster raster({side, side}, Raster::YAxis::down);
    raster.stroke(path, std::max(sizeMultiplier * 1.3, 1.1), {0.03, 0.03, 0.03, 0.95}, placement);
    raster.fill(path, {1, 1, 1, 0.98}, placement);
    return raster.image();
}

} // namespace tavrin
