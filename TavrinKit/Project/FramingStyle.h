#pragma once

#include <string>
#include <variant>

#include "TavrinKit/Project/StyleTrack.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The shadow of the framed picture, in pixels of the output. All keys are required in JSON.
struct ShadowStyle {
    double opacity = 0.25;  ///< 0...1
    double blurRadius = 32; ///< at least 0
    double offsetX = 0;
    double offsetY = 10; ///< downward

    [[nodiscard]] ShadowStyle normalized() const;

    friend bool operator==(const ShadowStyle&, const ShadowStyle&) = default;
};

enum class BuiltInWallpaperStyle { aurora, ember, tide, graphite };

/// What lies behind the framed picture: exactly one of four kinds.
///
/// In JSON an object with one key, that of the kind, whose value is an object with the kind's fields.
struct BackgroundStyle {
    struct Solid {
        static constexpr const char* key = "solid";
        std::string colorHex{};
        friend bool operator==(const Solid&, const Solid&) = default;
    };
    struct Gradient {
        static constexpr const char* key = "gradient";
        std::string startHex{};
        std::string endHex{};
        friend bool operator==(const Gradient&, const Gradient&) = default;
    };
    struct Wallpaper {
        static constexpr const char* key = "wallpaper";
        BuiltInWallpaperStyle id = BuiltInWallpaperStyle::aurora;
        friend bool operator==(const Wallpaper&, const Wallpaper&) = default;
    };
    struct Image {
        static constexpr const char* key = "image";
        std::string path{};
        friend bool operator==(const Image&, const Image&) = default;
    };

    std::variant<Solid, Gradient, Wallpaper, Image> content = Gradient{"#111827", "#334155"};

    [[nodiscard]] static BackgroundStyle solid(std::string colorHex);
    [[nodiscard]] static BackgroundStyle gradient(std::string startHex, std::string endHex);
    [[nodiscard]] static BackgroundStyle wallpaper(BuiltInWallpaperStyle id);
    [[nodiscard]] static BackgroundStyle image(std::string path);

    friend bool operator==(const BackgroundStyle&, const BackgroundStyle&) = default;
};

/// How the picture stands on its background, in pixels of the output. All keys are required in JSON.
struct FramingStyle {
    double padding = 48;      ///< at least 0
    double cornerRadius = 24; ///< at least 0
    ShadowStyle shadow{};
    BackgroundStyle background{};

    [[nodiscard]] FramingStyle normalized() const;

    friend bool operator==(const FramingStyle&, const FramingStyle&) = default;
};

using FramingTrack = StyleTrack<FramingStyle>;

template <>
struct EnumNames<BuiltInWallpaperStyle> {
    using enum BuiltInWallpaperStyle;
    static constexpr auto names = namedCases<BuiltInWallpaperStyle>({
        {aurora, "aurora"},
        {ember, "ember"},
        {tide, "tide"},
        {graphite, "graphite"},
    });
};

void encode(Json& json, const BackgroundStyle& value);
void decode(const Json& json, BackgroundStyle& value);

template <>
struct JsonRecord<BackgroundStyle::Solid> {
    static void fields(auto& keys, auto& value) { keys.required("colorHex", value.colorHex); }
};

template <>
struct JsonRecord<BackgroundStyle::Gradient> {
    static void fields(auto& keys, auto& value) {
        keys.required("startHex", value.startHex);
        keys.required("endHex", value.endHex);
    }
};

template <>
struct JsonRecord<BackgroundStyle::Wallpaper> {
    static void fields(auto& keys, auto& value) { keys.required("id", value.id); }
};

template <>
struct JsonRecord<BackgroundStyle::Image> {
    static void fields(auto& keys, auto& value) { keys.required("path", value.path); }
};

template <>
struct JsonRecord<ShadowStyle> {
    static void fields(auto& keys, auto& value) {
        keys.required("opacity", value.opacity);
        keys.required("blurRadius", value.blurRadius);
        keys.required("offsetX", value.offsetX);
        keys.required("offsetY", value.offsetY);
    }
};

template <>
struct JsonRecord<FramingStyle> {
    static void fields(auto& keys, auto& value) {
        keys.required("padding", value.padding);
        keys.required("cornerRadius", value.cornerRadius);
        keys.required("shadow", value.shadow);
        keys.required("background", value.background);
    }
};

} // namespace tavrin
