#include "TavrinKit/Effects/CameraTransform.h"

#include "TavrinKit/Support/Json.h"

namespace tavrin {

void encode(Json& json, const CameraTransform& value) {
    JsonObjectWriter(json).put("center", value.center).put("scale", value.scale);
}

void decode(const Json& json, CameraTransform& value) {
    const JsonObject object(json);
    object.required("center", value.center);
    object.required("scale", value.scale);
}

} // namespace tavrin
