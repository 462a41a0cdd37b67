#include "TavrinKit/Effects/RenderFrame.h"

namespace tavrin {

void encode(Json& json, const RenderFrame& value) {
    JsonObjectWriter(json)
        .put("time", value.time)
        .put("camera", value.camera)
        .put("cursor", value.cursor)
        .put("typing", value.typing)
        .put("framing", value.framing)
        .put("motionBlur", value.motionBlur);
}

void decode(const Json& json, RenderFrame& value) {
    const JsonObject object(json);
    object.required("time", value.time);
    object.required("camera", value.camera);
    object.required("cursor", value.cursor);
    object.required("typing", value.typing);
    object.required("framing", value.framing);
    object.required("motionBlur", value.motionBlur);
}

} // namespace tavrin
