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

void encode(Json& json, const ExtraAudioRegion& value);
void encode(Json& json, const ExtraAudioTrack& value);
void decode(const Json& json, ExtraAudioRegion& value);
void decode(const Json& json, ExtraAudioTrack& value);

} // namespace tavrin
