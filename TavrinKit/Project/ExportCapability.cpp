#include "TavrinKit/Project/ExportCapability.h"

namespace tavrin {

void encode(Json& json, const ExportCodecCapability& value) {
    JsonObjectWriter(json)
        .put("codec", value.codec)
        .put("profile", value.profile)
        .put("supported", value.supported)
        .put("hardwareAccelerated", value.hardwareAccelerated);
}

void decode(const Json& json, ExportCodecCapability& value) {
    const JsonObject object(json);
    object.required("codec", value.codec);
    object.required("profile", value.profile);
    object.required("supported", value.supported);
    object.required("hardwareAccelerated", value.hardwareAccelerated);
}

} // namespace tavrin
