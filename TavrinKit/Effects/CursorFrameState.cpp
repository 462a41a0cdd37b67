#include "TavrinKit/Effects/CursorFrameState.h"

#include <utility>

#include "TavrinKit/Effects/InlineVectorJson.h"
#include "TavrinKit/Project/CursorStyle.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

Json encoded(const CursorAppearance& appearance) {
    Json json;
    JsonObjectWriter(json)
        .put("identifier", appearance.identifier())
        .put("pngData", base64Encode(appearance.pngData()))
        .put("hotSpot", appearance.hotSpot())
        .put("pixelSize", appearance.pixelSize());
    return json;
}

CursorAppearance decodedAppearance(const Json& json) {
    const JsonObject object(json);
    Bytes pngData;
    if (!base64Decode(object.required<std::string>("pngData"), pngData)) {
        throw JsonError(JsonErrorKind::typeMismatch, "Expected base64.", "pngData");
    }
    return CursorAppearance(object.required<std::string>("identifier"), std::move(pngData),
                            object.required<Vec2>("hotSpot"), object.required<Vec2>("pixelSize"));
}

} // namespace

void encode(Json& json, const CursorFrameState& value) {
    JsonObjectWriter(json)
        .put("position", value.position)
        .put("visible", value.visible)
        .put("opacity", value.opacity)
        .put("sizeMultiplier", value.sizeMultiplier)
        .put("highlight", value.highlight)
        .put("highlightProgress", value.highlightProgress)
        .put("highlightIntensity", value.highlightIntensity)
        .put("highlightPosition", value.highlightPosition)
        .put("glyph", value.glyph)
        .put("bodyStyle", value.bodyStyle)
        .put("bodyVisible", value.bodyVisible)
        .put("trailPoints", value.trailPoints)
        .put("trailOpacities", value.trailOpacities);
    if (value.appearance) {
        json["appearance"] = encoded(*value.appearance);
    }
}

void decode(const Json& json, CursorFrameState& value) {
    const JsonObject object(json);
    object.required("position", value.position);
    object.required("visible", value.visible);
    object.required("opacity", value.opacity);
    object.required("sizeMultiplier", value.sizeMultiplier);
    object.required("highlight", value.highlight);
    object.required("highlightProgress", value.highlightProgress);
    object.required("highlightIntensity", value.highlightIntensity);
    object.required("highlightPosition", value.highlightPosition);
    object.required("glyph", value.glyph);
    const Json* appearance = object.find("appearance");
    value.appearance = appearance != nullptr ? std::optional(decodedAppearance(*appearance)) : std::nullopt;
    object.required("bodyStyle", value.bodyStyle);
    object.required("bodyVisible", value.bodyVisible);
    object.required("trailPoints", value.trailPoints);
    object.required("trailOpacities", value.trailOpacities);
}

} // namespace tavrin
