#include "TavrinKit/Project/ProjectManifest.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

CameraTrackDescriptor CameraTrackDescriptor::normalized() const {
    return {fileName, finiteOr(timebaseOffsetSeconds, 0), finiteOr(driftMillisecondsPerHour, 0)};
}

void encode(Json& json, const AudioTrackDescriptor& value) {
    JsonObjectWriter(json).put("kind", value.kind).put("fileName", value.fileName);
}

void encode(Json& json, const CameraTrackDescriptor& value) {
    JsonObjectWriter(json)
        .put("fileName", value.fileName)
        .put("timebaseOffsetSeconds", value.timebaseOffsetSeconds)
        .put("driftMillisecondsPerHour", value.driftMillisecondsPerHour);
}

void encode(Json& json, const ProjectManifest& value) {
    JsonObjectWriter(json)
        .put("schemaVersion", value.schemaVersion)
        .put("createdAt", value.createdAt)
        .put("screenFileName", value.screenFileName)
        .put("cursorExcluded", value.cursorExcluded)
        .put("audioTracks", value.audioTracks)
        .put("cameraTracks", value.cameraTracks)
        .put("eventsFileName", value.eventsFileName)
        .put("editsFileName", value.editsFileName);
}

void decode(const Json& json, AudioTrackDescriptor& value) {
    const JsonObject object(json);
    object.required("kind", value.kind);
    object.required("fileName", value.fileName);
}

void decode(const Json& json, CameraTrackDescriptor& value) {
    const JsonObject object(json);
    object.required("fileName", value.fileName);
    object.required("timebaseOffsetSeconds", value.timebaseOffsetSeconds);
    object.required("driftMillisecondsPerHour", value.driftMillisecondsPerHour);
}

void decode(const Json& json, ProjectManifest& value) {
    value = {};
    value.schemaVersion = 1;
    const JsonObject object(json);
    object.tolerated("schemaVersion", value.schemaVersion);
    object.tolerated("createdAt", value.createdAt);
    object.tolerated("screenFileName", value.screenFileName);
    object.tolerated("cursorExcluded", value.cursorExcluded);
    object.tolerated("audioTracks", value.audioTracks);
    object.tolerated("cameraTracks", value.cameraTracks);
    object.tolerated("eventsFileName", value.eventsFileName);
    object.tolerated("editsFileName", value.editsFileName);
}

} // namespace tavrin
