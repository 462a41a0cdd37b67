#include "TavrinKit/Effects/FramingRenderState.h"

#include "TavrinKit/Support/Json.h"

namespace tavrin {

void encode(Json& json, const FramingRenderState& value) {
    JsonObjectWriter(json)
        .put("contentPadding", value.contentPadding)
        .put("cornerRadius", value.cornerRadius)
        .put("shadow", value.shadow)
        .put("background", value.background);
}

void decode(const Json& json, FramingRenderState& value) {
    const JsonObject object(json);
    object.required("contentPadding", value.contentPadding);
    object.required("cornerRadius", value.cornerRadius);
    object.required("shadow", value.shadow);
    object.required("background", value.background);
}

} // namespace tavrin
