#pragma once

#include <cstddef>
#include <optional>

#include <nlohmann/json_fwd.hpp>

#include "TavrinKit/Effects/InlineVector.h"
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

void encode(nlohmann::json& json, const CursorFrameState& value);
void decode(const nlohmann::json& json, CursorFrameState& value);

} // namespace tavrin
