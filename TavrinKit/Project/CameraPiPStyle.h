#pragma once

#include "TavrinKit/Project/StyleTrack.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class CameraPiPAnchor { topLeft, topRight, bottomLeft, bottomRight };
enum class CameraPiPShape { roundedRect, circle };
enum class CameraPiPLayoutMode { fixed, focusAware };
enum class CameraPiPBackgroundTreatment { none, plate, glow };

/// The camera's picture in a corner. Any key may be missing in JSON, and the decoder normalises.
struct CameraPiPStyle {
    bool enabled = false;
    CameraPiPAnchor anchor = CameraPiPAnchor::bottomRight;
    double widthFraction = 0.24;        ///< of the output's width, 0.1...0.45
    double marginFraction = 0.04;       ///< 0.01...0.2
    double cornerRadiusFraction = 0.07; ///< 0...0.5
    double shadowOpacity = 0.28;        ///< 0...1
    double borderOpacity = 0.25;        ///< 0...1
    double borderWidth = 2;             ///< 0...10
    CameraPiPShape shape = CameraPiPShape::roundedRect;
    CameraPiPLayoutMode layoutMode = CameraPiPLayoutMode::fixed;
    double focusReactionStrength = 0.7; ///< 0...1
    CameraPiPBackgroundTreatment backgroundTreatment = CameraPiPBackgroundTreatment::none;

    [[nodiscard]] CameraPiPStyle normalized() const;

    friend bool operator==(const CameraPiPStyle&, const CameraPiPStyle&) = default;
};

using CameraPiPTrack = StyleTrack<CameraPiPStyle>;

template <>
struct EnumNames<CameraPiPAnchor> {
    using enum CameraPiPAnchor;
    static constexpr auto names = namedCases<CameraPiPAnchor>({
        {topLeft, "topLeft"},
        {topRight, "topRight"},
        {bottomLeft, "bottomLeft"},
        {bottomRight, "bottomRight"},
    });
};

template <>
struct EnumNames<CameraPiPShape> {
    using enum CameraPiPShape;
    static constexpr auto names = namedCases<CameraPiPShape>({
        {roundedRect, "roundedRect"},
        {circle, "circle"},
    });
};

template <>
struct EnumNames<CameraPiPLayoutMode> {
    using enum CameraPiPLayoutMode;
    static constexpr auto names = namedCases<CameraPiPLayoutMode>({
        {fixed, "fixed"},
        {focusAware, "focusAware"},
    });
};

template <>
struct EnumNames<CameraPiPBackgroundTreatment> {
    using enum CameraPiPBackgroundTreatment;
    static constexpr auto names = namedCases<CameraPiPBackgroundTreatment>({
        {none, "none"},
        {plate, "plate"},
        {glow, "glow"},
    });
};

template <>
struct JsonRecord<CameraPiPStyle> {
    static constexpr bool decoderNormalizes = true;
    static void fields(auto& keys, auto& value) {
        keys.tolerated("enabled", value.enabled);
        keys.tolerated("anchor", value.anchor);
        keys.tolerated("widthFraction", value.widthFraction);
        keys.tolerated("marginFraction", value.marginFraction);
        keys.tolerated("cornerRadiusFraction", value.cornerRadiusFraction);
        keys.tolerated("shadowOpacity", value.shadowOpacity);
        keys.tolerated("borderOpacity", value.borderOpacity);
        keys.tolerated("borderWidth", value.borderWidth);
        keys.tolerated("shape", value.shape);
        keys.tolerated("layoutMode", value.layoutMode);
        keys.tolerated("focusReactionStrength", value.focusReactionStrength);
        keys.tolerated("backgroundTreatment", value.backgroundTreatment);
    }
};

} // namespace tavrin
