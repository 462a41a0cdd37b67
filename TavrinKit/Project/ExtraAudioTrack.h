#pragma once

#include <string>
#include <vector>

#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// A sound file laid under a stretch of the video. All keys are required in JSON.
struct ExtraAudioRegion {
    UUID id = UUID::make();
    double startTime = 0;
    double endTime = 0;
    std::string filePath{};
    double volume = 1; ///< 0...2

    [[nodiscard]] double duration() const { return endTime - startTime; }
    /// The times as in ClipTimeRange; `filePath` without white space at its ends; a volume that is not
    /// finite becomes 1.
    [[nodiscard]] ExtraAudioRegion normalized() const;

    friend bool operator==(const ExtraAudioRegion&, const ExtraAudioRegion&) = default;
};

/// Sorted by start, then id.
struct ExtraAudioTrack {
    std::vector<ExtraAudioRegion> regions{};

    [[nodiscard]] ExtraAudioTrack normalized() const;

    friend bool operator==(const ExtraAudioTrack&, const ExtraAudioTrack&) = default;
};

template <>
struct JsonRecord<ExtraAudioRegion> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("startTime", value.startTime);
        keys.required("endTime", value.endTime);
        keys.required("filePath", value.filePath);
        keys.required("volume", value.volume);
    }
};

template <>
struct JsonRecord<ExtraAudioTrack> {
    static void fields(auto& keys, auto& value) { keys.required("regions", value.regions); }
};

} // namespace tavrin
