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

template <>
struct JsonRecord<AudioRoutingMetadata> {
    static void fields(auto& keys, auto& value) {
        keys.required("preferredRoles", value.preferredRoles);
        keys.required("normalizeBeforeMix", value.normalizeBeforeMix);
    }
};

template <>
struct JsonRecord<ExportSettingsMetadata> {
    static void fields(auto& keys, auto& value) { keys.tolerated("selectedAspect", value.selectedAspect); }
};

template <>
struct JsonRecord<EditsDocument> {
    static void fields(auto& keys, auto& value) {
        keys.tolerated("timeline", value.timeline);
        keys.tolerated("audioRouting", value.audioRouting);
        keys.tolerated("exportSettings", value.exportSettings);
    }
};

} // namespace tavrin
