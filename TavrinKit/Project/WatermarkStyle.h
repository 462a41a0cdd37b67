#pragma once

#include <optional>
#include <string>

#include "TavrinKit/Project/StyleTrack.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class WatermarkKind { text, image };
enum class WatermarkAnchor { topLeft, topRight, bottomLeft, bottomRight, center };

/// A mark on the whole output picture. All keys but `imagePath` are required in JSON.
struct WatermarkStyle {
    bool enabled = false;
    WatermarkKind kind = WatermarkKind::text;
    std::string text = "Tavrin"; ///< without white space at its ends
    std::optional<std::string> imagePath{};
    double opacity = 0.28;         ///< 0...1
    double widthFraction = 0.18;   ///< of the output's width, 0.08...0.5
    double marginFraction = 0.035; ///< 0...0.2
    WatermarkAnchor anchor = WatermarkAnchor::bottomRight;
    bool shadowEnabled = true;

    [[nodiscard]] WatermarkStyle normalized() const;

    friend bool operator==(const WatermarkStyle&, const WatermarkStyle&) = default;
};

using WatermarkTrack = StyleTrack<WatermarkStyle>;

template <>
struct EnumNames<WatermarkKind> {
    using enum WatermarkKind;
    static constexpr auto names = namedCases<WatermarkKind>({
        {text, "text"},
        {image, "image"},
    });
};

template <>
struct EnumNames<WatermarkAnchor> {
    using enum WatermarkAnchor;
    static constexpr auto names = namedCases<WatermarkAnchor>({
        {topLeft, "topLeft"},
        {topRight, "topRight"},
        {bottomLeft, "bottomLeft"},
        {bottomRight, "bottomRight"},
        {center, "center"},
    });
};

template <>
struct JsonRecord<WatermarkStyle> {
    static void fields(auto& keys, auto& value) {
        keys.required("enabled", value.enabled);
        keys.required("kind", value.kind);
        keys.required("text", value.text);
        keys.tolerated("imagePath", value.imagePath);
        keys.required("opacity", value.opacity);
        keys.required("widthFraction", value.widthFraction);
        keys.required("marginFraction", value.marginFraction);
        keys.required("anchor", value.anchor);
        keys.required("shadowEnabled", value.shadowEnabled);
    }
};

} // namespace tavrin
