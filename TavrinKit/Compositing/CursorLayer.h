#pragma once

#include <optional>

#include "TavrinKit/Compositing/CursorSpriteCache.h"
#include "TavrinKit/Compositing/OverlayMapping.h"
#include "TavrinKit/Effects/CursorFrameState.h"
#include "TavrinKit/Imaging/Image.h"

namespace tavrin {

/// Draws the cursor over a framed picture: its trail, its body (a sprite with a hard shadow, or a touch
/// point) and the highlight of a click.
///
/// Sprites are placed at fractions of a pixel, so that a cursor moves smoothly. Any thread.
class CursorLayer {
public:
    /// @param sprites  lives longer than the layer
    explicit CursorLayer(CursorSpriteCache& sprites = CursorSpriteCache::shared()) : sprites_(&sprites) {}

    /// A cursor that is not visible, or all but transparent, shows neither body nor highlight; its trail, if
    /// it has one, is drawn all the same. Overlays don't reach beyond the image's extent.
    [[nodiscard]] Image overlayCursor(const Image& image, const CursorFrameState& state,
                                      const OverlayMapping& mapping) const;

    [[nodiscard]] Image overlayCursorTrail(const Image& image, const CursorFrameState& state,
                                           const OverlayMapping& mapping) const;

    /// A recorded cursor image at a scale; nothing when its data is no picture.
    [[nodiscard]] static std::optional<Image> makeCursorSprite(const CursorAppearance& appearance,
                                                               double sizeMultiplier);
    /// A glyph drawn at a scale: white with a dark outline, its tip at the upper left.
    [[nodiscard]] static std::optional<Image> makeCursorSprite(CursorGlyphKind kind, double sizeMultiplier);

private:
    [[nodiscard]] Image overlayTouchBody(const Image& image, const CursorFrameState& state, Vec2 point) const;
    [[nodiscard]] Image overlayPointerBody(const Image& image, const CursorFrameState& state,
                                           Vec2 point) const;
    [[nodiscard]] Image overlayClickHighlight(const Image& image, const CursorFrameState& state,
                                              Vec2 point) const;
    [[nodiscard]] std::optional<Image> recordedSprite(const CursorFrameState& state) const;
    [[nodiscard]] std::optional<Image> glyphSprite(const CursorFrameState& state) const;

    CursorSpriteCache* sprites_;
};

} // namespace tavrin
