#pragma once

#include <optional>
#include <vector>

#include "TavrinKit/Project/AudioMixState.h"
#include "TavrinKit/Project/ExportAspectPreset.h"
#include "TavrinKit/Project/TimelineModel.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// Both keys are required in JSON.
struct AudioRoutingMetadata {
    std::vector<AudioTrackRole> preferredRoles{AudioTrackRole::microphone, AudioTrackRole::system};
    bool normalizeBeforeMix = false;

    friend bool operator==(const AudioRoutingMetadata&, const AudioRoutingMetadata&) = default;
};

struct ExportSettingsMetadata {
    std::optional<ExportAspectPreset> selectedAspect{};

    friend bool operator==(const ExportSettingsMetadata&, const ExportSettingsMetadata&) = default;
};

/// What a package keeps of an edit; one undo step is one whole document. Any key may be missing in JSON.
struct EditsDocument {
    TimelineModel timeline{};
    AudioRoutingMetadata audioRouting{};
    ExportSettingsMetadata exportSettings{};

    friend bool operator==(const EditsDocument&, const EditsDocument&) = default;
};

void encode(Json& json, const AudioRoutingMetadata& value);
void encode(Json& json, const ExportSettingsMetadata& value);
void encode(Json& json, const EditsDocument& value);
void decode(const Json& json, AudioRoutingMetadata& value);
void decode(const Json& json, ExportSettingsMetadata& value);
void decode(const Json& json, EditsDocument& value);

} // namespace tavrin
