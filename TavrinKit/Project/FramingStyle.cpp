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

void encode(Json& json, const BackgroundStyle& value) {
    std::visit([&](const auto& kind) { JsonObjectWriter(json).put(kind.key, kind); }, value.content);
}

namespace {

template <typename Kind>
bool readKind(const JsonObject& object, BackgroundStyle& value) {
    const bool isThere = object.find(Kind::key) != nullptr;
    if (isThere) {
        value.content = object.required<Kind>(Kind::key);
    }
    return isThere;
}

} // namespace

void decode(const Json& json, BackgroundStyle& value) {
    using Style = BackgroundStyle;
    const JsonObject object(json);
    const bool isRead = json.size() == 1 &&
                        (readKind<Style::Solid>(object, value) || readKind<Style::Gradient>(object, value) ||
                         readKind<Style::Wallpaper>(object, value) || readKind<Style::Image>(object, value));
    if (!isRead) {
        throw JsonError(JsonErrorKind::typeMismatch, "Invalid number of keys found, expected one.");
    }
}

} // namespace tavrin
