#include "TavrinKit/Project/EditsDocument.h"

namespace tavrin {

void encode(Json& json, const AudioRoutingMetadata& value) {
    JsonObjectWriter(json)
        .put("preferredRoles", value.preferredRoles)
        .put("normalizeBeforeMix", value.normalizeBeforeMix);
}

void encode(Json& json, const ExportSettingsMetadata& value) {
    JsonObjectWriter(json).put("selectedAspect", value.selectedAspect);
}

void encode(Json& json, const EditsDocument& value) {
    JsonObjectWriter(json)
        .put("timeline", value.timeline)
        .put("audioRouting", value.audioRouting)
        .put("exportSettings", value.exportSettings);
}

void decode(const Json& json, AudioRoutingMetadata& value) {
    const JsonObject object(json);
    object.required("preferredRoles", value.preferredRoles);
    object.required("normalizeBeforeMix", value.normalizeBeforeMix);
}

void decode(const Json& json, ExportSettingsMetadata& value) {
    value = {};
    JsonObject(json).tolerated("selectedAspect", value.selectedAspect);
}

void decode(const Json& json, EditsDocument& value) {
    value = {};
    const JsonObject object(json);
    object.tolerated("timeline", value.timeline);
    object.tolerated("audioRouting", value.audioRouting);
    object.tolerated("exportSettings", value.exportSettings);
}

} // namespace tavrin
