#include "TavrinKit/Project/FramingStyle.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

ShadowStyle ShadowStyle::normalized() const {
    ShadowStyle result = *this;
    result.opacity = clampedTo(opacity, 0, 1);
    result.blurRadius = atLeast(blurRadius, 0);
    return result;
}

BackgroundStyle BackgroundStyle::solid(std::string colorHex) {
    return {Solid{std::move(colorHex)}};
}

BackgroundStyle BackgroundStyle::gradient(std::string startHex, std::string endHex) {
    return {Gradient{std::move(startHex), std::move(endHex)}};
}

BackgroundStyle BackgroundStyle::wallpaper(BuiltInWallpaperStyle id) {
    return {Wallpaper{id}};
}

BackgroundStyle BackgroundStyle::image(std::string path) {
    return {Image{std::move(path)}};
}

FramingStyle FramingStyle::normalized() const {
    FramingStyle result = *this;
    result.padding = atLeast(padding, 0);
    result.cornerRadius = atLeast(cornerRadius, 0);
    return result;
}

// The kinds of a background, found by argument: their encode and decode must stand in this namespace.

void encode(Json& json, const BackgroundStyle::Solid& value) {
    JsonObjectWriter(json).put("colorHex", value.colorHex);
}

void encode(Json& json, const BackgroundStyle::Gradient& value) {
    JsonObjectWriter(json).put("startHex", value.startHex).put("endHex", value.endHex);
}

void encode(Json& json, const BackgroundStyle::Wallpaper& value) {
    JsonObjectWriter(json).put("id", value.id);
}

void encode(Json& json, const BackgroundStyle::Image& value) {
    JsonObjectWriter(json).put("path", value.path);
}

void decode(const Json& json, BackgroundStyle::Solid& value) {
    JsonObject(json).required("colorHex", value.colorHex);
}

void decode(const Json& json, BackgroundStyle::Gradient& value) {
    const JsonObject object(json);
    object.required("startHex", value.startHex);
    object.required("endHex", value.endHex);
}

void decode(const Json& json, BackgroundStyle::Wallpaper& value) {
    JsonObject(json).required("id", value.id);
}

void decode(const Json& json, BackgroundStyle::Image& value) {
    JsonObject(json).required("path", value.path);
}

namespace {

constexpr std::array<const char*, 4> kindKeys{"solid", "gradient", "wallpaper", "image"};

} // namespace

void encode(Json& json, const ShadowStyle& value) {
    JsonObjectWriter(json)
        .put("opacity", value.opacity)
        .put("blurRadius", value.blurRadius)
        .put("offsetX", value.offsetX)
        .put("offsetY", value.offsetY);
}

void encode(Json& json, const BackgroundStyle& value) {
    JsonObjectWriter writer(json);
    std::visit([&](const auto& kind) { writer.put(kindKeys[value.content.index()], kind); }, value.content);
}

void encode(Json& json, const FramingStyle& value) {
    JsonObjectWriter(json)
        .put("padding", value.padding)
        .put("cornerRadius", value.cornerRadius)
        .put("shadow", value.shadow)
        .put("background", value.background);
}

void encode(Json& json, const FramingTrack& value) {
    JsonObjectWriter(json).put("style", value.style);
}

void decode(const Json& json, ShadowStyle& value) {
    const JsonObject object(json);
    object.required("opacity", value.opacity);
    object.required("blurRadius", value.blurRadius);
    object.required("offsetX", value.offsetX);
    object.required("offsetY", value.offsetY);
}

void decode(const Json& json, BackgroundStyle& value) {
    const JsonObject object(json);
    if (json.size() == 1) {
        if (object.find("solid") != nullptr) {
            value.content = object.required<BackgroundStyle::Solid>("solid");
            return;
        }
        if (object.find("gradient") != nullptr) {
            value.content = object.required<BackgroundStyle::Gradient>("gradient");
            return;
        }
        if (object.find("wallpaper") != nullptr) {
            value.content = object.required<BackgroundStyle::Wallpaper>("wallpaper");
            return;
        }
        if (object.find("image") != nullptr) {
            value.content = object.required<BackgroundStyle::Image>("image");
            return;
        }
    }
    throw JsonError(JsonErrorKind::typeMismatch, "Invalid number of keys found, expected one.");
}

void decode(const Json& json, FramingStyle& value) {
    const JsonObject object(json);
    object.required("padding", value.padding);
    object.required("cornerRadius", value.cornerRadius);
    object.required("shadow", value.shadow);
    object.required("background", value.background);
}

void decode(const Json& json, FramingTrack& value) {
    JsonObject(json).required("style", value.style);
}

} // namespace tavrin
