#include "TavrinKit/Effects/CursorFrameState.h"

#include <string>
#include <utility>

#include "TavrinKit/Support/Files.h"

namespace tavrin {

void encode(Json& json, const CursorAppearance& value) {
    JsonObjectWriter(json)
        .put("identifier", value.identifier())
        .put("pngData", base64Encode(value.pngData()))
        .put("hotSpot", value.hotSpot())
        .put("pixelSize", value.pixelSize());
}

void decode(const Json& json, CursorAppearance& value) {
    const JsonObject object(json);
    Bytes pngData;
    if (!base64Decode(object.required<std::string>("pngData"), pngData)) {
        throw JsonError(JsonErrorKind::typeMismatch, "Expected base64.", "pngData");
    }
    value = CursorAppearance(object.required<std::string>("identifier"), std::move(pngData),
                             object.required<Vec2>("hotSpot"), object.required<Vec2>("pixelSize"));
}

} // namespace tavrin
