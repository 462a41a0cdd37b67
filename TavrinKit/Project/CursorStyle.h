#pragma once

#include "TavrinKit/Project/CursorGlyphKind.h"
#include "TavrinKit/Project/StyleTrack.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class CursorSmoothingPreset { off, low, medium, high };
enum class ClickHighlightStyle { none, ring, halo };
enum class CursorBodyStyle { pointer, touch };
enum class CursorEndBehavior { natural, stop, loopTail };
enum class CursorGlyphSelectionMode { automatic, manual };
enum class CursorTrailStyle { none, subtle, dynamic };

/// The share of the way to the target that a smoothed pointer covers: 1, 0.55, 0.35, 0.2.
[[nodiscard]] double alpha(CursorSmoothingPreset preset);

/// How the pointer is drawn again. Any key may be missing in JSON, and the decoder normalises.
struct CursorStyle {
    double sizeMultiplier = 1.4; ///< 1...2.5
    CursorSmoothingPreset smoothing = CursorSmoothingPreset::medium;
    bool hideWhenIdle = true;
    ClickHighlightStyle clickHighlightStyle = ClickHighlightStyle::ring;
    double idleHideAfterSeconds = 1.2; ///< at least 0.2
    CursorBodyStyle bodyStyle = CursorBodyStyle::pointer;
    double shakeReduction = 0;            ///< 0...1
    double glyphStabilizationSeconds = 0; ///< 0...1.2
    CursorEndBehavior endBehavior = CursorEndBehavior::natural;
    double endLoopDurationSeconds = 0.45; ///< 0.12...1.2
    bool hideDuringZoomSegments = false;
    CursorGlyphSelectionMode glyphSelectionMode = CursorGlyphSelectionMode::automatic;
    CursorGlyphKind selectedGlyph = CursorGlyphKind::arrow;
    double clickHighlightDurationSeconds = 0.28; ///< 0.08...1.2
    double clickHighlightIntensity = 0.95;       ///< 0...1
    CursorTrailStyle trailStyle = CursorTrailStyle::subtle;
    double trailLengthSeconds = 0.45;      ///< 0...1.2
    double trailIntensity = 0.65;          ///< 0...1
    double idleFadeDurationSeconds = 0.28; ///< 0.05...1

    [[nodiscard]] CursorStyle normalized() const;

    friend bool operator==(const CursorStyle&, const CursorStyle&) = default;
};

using CursorTrack = StyleTrack<CursorStyle>;

template <>
struct EnumNames<CursorSmoothingPreset> {
    using enum CursorSmoothingPreset;
    static constexpr auto names = namedCases<CursorSmoothingPreset>({
        {off, "off"},
        {low, "low"},
        {medium, "medium"},
        {high, "high"},
    });
};

template <>
struct EnumNames<ClickHighlightStyle> {
    using enum ClickHighlightStyle;
    static constexpr auto names = namedCases<ClickHighlightStyle>({
        {none, "none"},
        {ring, "ring"},
        {halo, "halo"},
    });
};

template <>
struct EnumNames<CursorBodyStyle> {
    using enum CursorBodyStyle;
    static constexpr auto names = namedCases<CursorBodyStyle>({
        {pointer, "pointer"},
        {touch, "touch"},
    });
};

template <>
struct EnumNames<CursorEndBehavior> {
    using enum CursorEndBehavior;
    static constexpr auto names = namedCases<CursorEndBehavior>({
        {natural, "natural"},
        {stop, "stop"},
        {loopTail, "loopTail"},
    });
};

template <>
struct EnumNames<CursorGlyphSelectionMode> {
    using enum CursorGlyphSelectionMode;
    static constexpr auto names = namedCases<CursorGlyphSelectionMode>({
        {automatic, "automatic"},
        {manual, "manual"},
    });
};

template <>
struct EnumNames<CursorTrailStyle> {
    using enum CursorTrailStyle;
    static constexpr auto names = namedCases<CursorTrailStyle>({
        {none, "none"},
        {subtle, "subtle"},
        {dynamic, "dynamic"},
    });
};

template <>
struct JsonRecord<CursorStyle> {
    static constexpr bool decoderNormalizes = true;
    static void fields(auto& keys, auto& value) {
        keys.tolerated("sizeMultiplier", value.sizeMultiplier);
        keys.tolerated("smoothing", value.smoothing);
        keys.tolerated("hideWhenIdle", value.hideWhenIdle);
        keys.tolerated("clickHighlightStyle", value.clickHighlightStyle);
        keys.tolerated("idleHideAfterSeconds", value.idleHideAfterSeconds);
        keys.tolerated("bodyStyle", value.bodyStyle);
        keys.tolerated("shakeReduction", value.shakeReduction);
        keys.tolerated("glyphStabilizationSeconds", value.glyphStabilizationSeconds);
        keys.tolerated("endBehavior", value.endBehavior);
        keys.tolerated("endLoopDurationSeconds", value.endLoopDurationSeconds);
        keys.tolerated("hideDuringZoomSegments", value.hideDuringZoomSegments);
        keys.tolerated("glyphSelectionMode", value.glyphSelectionMode);
        keys.tolerated("selectedGlyph", value.selectedGlyph);
        keys.tolerated("clickHighlightDurationSeconds", value.clickHighlightDurationSeconds);
        keys.tolerated("clickHighlightIntensity", value.clickHighlightIntensity);
        keys.tolerated("trailStyle", value.trailStyle);
        keys.tolerated("trailLengthSeconds", value.trailLengthSeconds);
        keys.tolerated("trailIntensity", value.trailIntensity);
        keys.tolerated("idleFadeDurationSeconds", value.idleFadeDurationSeconds);
    }
};

} // namespace tavrin
