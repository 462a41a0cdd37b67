#pragma once

#include <array>
#include <string_view>
#include <utility>

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

struct CameraPiPTrack {
    CameraPiPStyle style{};

    friend bool operator==(const CameraPiPTrack&, const CameraPiPTrack&) = default;
};

template <>
struct EnumNames<CameraPiPAnchor> {
    static constexpr std::array<std::pair<CameraPiPAnchor, std::string_view>, 4> names{{
        {CameraPiPAnchor::topLeft, "topLeft"},
        {CameraPiPAnchor::topRight, "topRight"},
        {CameraPiPAnchor::bottomLeft, "bottomLeft"},
        {CameraPiPAnchor::bottomRight, "bottomRight"},
    }};
};

template <>
struct EnumNames<CameraPiPShape> {
    static constexpr std::array<std::pair<CameraPiPShape, std::string_view>, 2> names{{
        {CameraPiPShape::roundedRect, "roundedRect"},
        {CameraPiPShape::circle, "circle"},
    }};
};

template <>
struct EnumNames<CameraPiPLayoutMode> {
    static constexpr std::array<std::pair<CameraPiPLayoutMode, std::string_view>, 2> names{{
        {CameraPiPLayoutMode::fixed, "fixed"},
        {CameraPiPLayoutMode::focusAware, "focusAware"},
    }};
};

template <>
struct EnumNames<CameraPiPBackgroundTreatment> {
    static constexpr std::array<std::pair<CameraPiPBackgroundTreatment, std::string_view>, 3> names{{
        {CameraPiPBackgroundTreatment::none, "none"},
        {CameraPiPBackgroundTreatment::plate, "plate"},
        {CameraPiPBackgroundTreatment::glow, "glow"},
    }};
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

template <>
struct JsonRecord<CameraPiPTrack> {
    static void fields(auto& keys, auto& value) { keys.required("style", value.style); }
};

} // namespace tavrin
