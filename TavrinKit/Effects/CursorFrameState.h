#pragma once

#include <cstddef>
#include <optional>

#include "TavrinKit/Effects/InlineVectorJson.h"
#include "TavrinKit/Project/CursorAppearance.h"
#include "TavrinKit/Project/CursorGlyphKind.h"
#include "TavrinKit/Project/CursorStyle.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// The most points that a trail has, its head included.
inline constexpr std::size_t maximumCursorTrailPoints = 14;

/// What the drawn cursor looks like at one instant. Positions are in the unit of the events.
///
/// Cheap to copy: the recorded image is shared, the trail lives inside.
struct CursorFrameState {
    Vec2 position;       ///< of the tip
    bool visible = true; ///< whether the body is drawn, as far as the events and the style go
    double opacity = 1;  ///< 0...1
    double sizeMultiplier = 1;

    ClickHighlightStyle highlight = ClickHighlightStyle::none; ///< `none` while no highlight is running
    double highlightProgress = 0;                              ///< 1 at the click, falling linearly to 0
    double highlightIntensity = 0;                             ///< 0...1
    Vec2 highlightPosition; ///< of the click, or `position` when there is none

    CursorGlyphKind glyph = CursorGlyphKind::arrow; ///< drawn when there is no appearance
    std::optional<CursorAppearance> appearance;     ///< the recorded image, when it is to be used
    CursorBodyStyle bodyStyle = CursorBodyStyle::pointer;
    bool bodyVisible =
        true; ///< false when the recording shows a cursor of its own; highlight and trail remain

    InlineVector<Vec2, maximumCursorTrailPoints> trailPoints;      ///< oldest first; the last is the cursor
    InlineVector<double, maximumCursorTrailPoints> trailOpacities; ///< as many as there are points

    friend bool operator==(const CursorFrameState&, const CursorFrameState&) = default;
};

void encode(Json& json, const CursorAppearance& value);
void decode(const Json& json, CursorAppearance& value);

template <>
struct JsonRecord<CursorFrameState> {
    static void fields(auto& keys, auto& value) {
        keys.required("position", value.position);
        keys.required("visible", value.visible);
        keys.required("opacity", value.opacity);
        keys.required("sizeMultiplier", value.sizeMultiplier);
        keys.required("highlight", value.highlight);
        keys.required("highlightProgress", value.highlightProgress);
        keys.required("highlightIntensity", value.highlightIntensity);
        keys.required("highlightPosition", value.highlightPosition);
        keys.required("glyph", value.glyph);
        keys.tolerated("appearance", value.appearance);
        keys.required("bodyStyle", value.bodyStyle);
        keys.required("bodyVisible", value.bodyVisible);
        keys.required("trailPoints", value.trailPoints);
        keys.required("trailOpacities", value.trailOpacities);
    }
};

} // namespace tavrin
