#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

enum class AnnotationType { text, image, figure };
enum class AnnotationFontWeight { regular, semibold, bold };
enum class AnnotationTextAlignment { leading, center, trailing };
enum class AnnotationFigureShape { arrow, rectangle, circle };
enum class AnnotationArrowDirection { up, down, left, right, upLeft, upRight, downLeft, downRight };

/// Colours are "#rrggbb"; lengths are in pixels of the output. All keys are required in JSON.
struct AnnotationStyle {
    std::string textColorHex = "#FFFFFF";
    std::string fillColorHex = "#2563EB";
    std::string strokeColorHex = "#FFFFFF";
    double fontSize = 32; ///< 12...96
    AnnotationFontWeight fontWeight = AnnotationFontWeight::bold;
    AnnotationTextAlignment textAlignment = AnnotationTextAlignment::center;
    double borderRadius = 12;    ///< 0...48
    double strokeWidth = 4;      ///< 1...18
    double shadowOpacity = 0.18; ///< 0...1

    [[nodiscard]] AnnotationStyle normalized() const;

    friend bool operator==(const AnnotationStyle&, const AnnotationStyle&) = default;
};

/// Both keys are required in JSON.
struct AnnotationFigureData {
    AnnotationFigureShape shape = AnnotationFigureShape::arrow;
    AnnotationArrowDirection direction = AnnotationArrowDirection::right; ///< of an arrow

    friend bool operator==(const AnnotationFigureData&, const AnnotationFigureData&) = default;
};

/// A box with text, an image or a figure, placed on the cropped picture. All keys but `imagePath` and
/// `figure` are required in JSON.
struct AnnotationRegion {
    UUID id = UUID::make();
    double startTime = 0;
    double endTime = 0;
    AnnotationType type = AnnotationType::text;
    std::string content{};
    std::optional<std::string> imagePath{};
    Vec2 position{0.35, 0.35}; ///< fractions of the picture, each 0...0.95
    Size2D size{0.3, 0.2};     ///< fractions of the picture, each 0.05...1
    AnnotationStyle style{};
    std::int64_t zIndex = 0; ///< at least 0; higher is drawn later
    std::optional<AnnotationFigureData> figure{};

    [[nodiscard]] double duration() const { return endTime - startTime; }
    /// Both bounds included.
    [[nodiscard]] bool isVisible(double time) const { return startTime <= time && time <= endTime; }

    /// The times as in ClipTimeRange; a coordinate that is not finite becomes the default; `imagePath`
    /// without white space at its ends, and absent when nothing is left.
    [[nodiscard]] AnnotationRegion normalized() const;

    friend bool operator==(const AnnotationRegion&, const AnnotationRegion&) = default;
};

/// Sorted by `zIndex`, then start, then id.
struct AnnotationTrack {
    std::vector<AnnotationRegion> regions{};

    [[nodiscard]] AnnotationTrack normalized() const;

    friend bool operator==(const AnnotationTrack&, const AnnotationTrack&) = default;
};

template <>
struct EnumNames<AnnotationType> {
    using enum AnnotationType;
    static constexpr auto names = namedCases<AnnotationType>({
        {text, "text"},
        {image, "image"},
        {figure, "figure"},
    });
};

template <>
struct EnumNames<AnnotationFontWeight> {
    using enum AnnotationFontWeight;
    static constexpr auto names = namedCases<AnnotationFontWeight>({
        {regular, "regular"},
        {semibold, "semibold"},
        {bold, "bold"},
    });
};

template <>
struct EnumNames<AnnotationTextAlignment> {
    using enum AnnotationTextAlignment;
    static constexpr auto names = namedCases<AnnotationTextAlignment>({
        {leading, "leading"},
        {center, "center"},
        {trailing, "trailing"},
    });
};

template <>
struct EnumNames<AnnotationFigureShape> {
    using enum AnnotationFigureShape;
    static constexpr auto names = namedCases<AnnotationFigureShape>({
        {arrow, "arrow"},
        {rectangle, "rectangle"},
        {circle, "circle"},
    });
};

template <>
struct EnumNames<AnnotationArrowDirection> {
    using enum AnnotationArrowDirection;
    static constexpr auto names = namedCases<AnnotationArrowDirection>({
        {up, "up"},
        {down, "down"},
        {left, "left"},
        {right, "right"},
        {upLeft, "upLeft"},
        {upRight, "upRight"},
        {downLeft, "downLeft"},
        {downRight, "downRight"},
    });
};

template <>
struct JsonRecord<AnnotationStyle> {
    static void fields(auto& keys, auto& value) {
        keys.required("textColorHex", value.textColorHex);
        keys.required("fillColorHex", value.fillColorHex);
        keys.required("strokeColorHex", value.strokeColorHex);
        keys.required("fontSize", value.fontSize);
        keys.required("fontWeight", value.fontWeight);
        keys.required("textAlignment", value.textAlignment);
        keys.required("borderRadius", value.borderRadius);
        keys.required("strokeWidth", value.strokeWidth);
        keys.required("shadowOpacity", value.shadowOpacity);
    }
};

template <>
struct JsonRecord<AnnotationFigureData> {
    static void fields(auto& keys, auto& value) {
        keys.required("shape", value.shape);
        keys.required("direction", value.direction);
    }
};

template <>
struct JsonRecord<AnnotationRegion> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("startTime", value.startTime);
        keys.required("endTime", value.endTime);
        keys.required("type", value.type);
        keys.required("content", value.content);
        keys.tolerated("imagePath", value.imagePath);
        keys.required("position", value.position);
        keys.required("size", value.size);
        keys.required("style", value.style);
        keys.required("zIndex", value.zIndex);
        keys.tolerated("figure", value.figure);
    }
};

template <>
struct JsonRecord<AnnotationTrack> {
    static void fields(auto& keys, auto& value) { keys.required("regions", value.regions); }
};

} // namespace tavrin
