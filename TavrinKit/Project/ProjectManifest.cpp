#include "TavrinKit/Project/ProjectManifest.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

CameraTrackDescriptor CameraTrackDescriptor::normalized() const {
    return {fileName, finiteOr(timebaseOffsetSeconds, 0), finiteOr(driftMillisecondsPerHour, 0)};
}

void decode(const Json& json, ProjectManifest& value) {
    const JsonObject keys(json);
    value = {.schemaVersion = 1};
    JsonRecord<ProjectManifest>::fields(keys, value);
}

} // namespace tavrin
