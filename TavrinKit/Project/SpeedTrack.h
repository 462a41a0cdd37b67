#pragma once

#include <optional>
#include <vector>

#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// How fast a region plays. In JSON the number itself. There is no normal speed: that is a stretch without
/// a region.
enum class PlaybackSpeed { x025, x05, x075, x125, x15, x175, x2 };

/// 0.25, 0.5, 0.75, 1.25, 1.5, 1.75 or 2.
[[nodiscard]] double multiplier(PlaybackSpeed speed);

/// All keys are required in JSON.
struct SpeedRegion {
    UUID id = UUID::make();
    double startTime = 0;
    double endTime = 0;
    PlaybackSpeed speed = PlaybackSpeed::x2;

    [[nodiscard]] double duration() const { return endTime - startTime; }
    /// The times as in ClipTimeRange.
    [[nodiscard]] SpeedRegion normalized() const;

    friend bool operator==(const SpeedRegion&, const SpeedRegion&) = default;
};

/// The operations keep the regions sorted by start, then id; those that name a region which isn't there do
/// nothing.
struct SpeedTrack {
    std::vector<SpeedRegion> regions{};

    [[nodiscard]] SpeedTrack normalized() const;

    void add(SpeedRegion region);

    /// A start below 0 becomes 0, an end below the start becomes the start. A start alone leaves the end.
    void updateBounds(const UUID& regionID, std::optional<double> start, std::optional<double> end);

    void setSpeed(const UUID& regionID, PlaybackSpeed speed);
    void remove(const UUID& regionID);

    friend bool operator==(const SpeedTrack&, const SpeedTrack&) = default;
};

void encode(Json& json, PlaybackSpeed value);
void decode(const Json& json, PlaybackSpeed& value);

template <>
struct JsonRecord<SpeedRegion> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("startTime", value.startTime);
        keys.required("endTime", value.endTime);
        keys.required("speed", value.speed);
    }
};

template <>
struct JsonRecord<SpeedTrack> {
    static void fields(auto& keys, auto& value) { keys.required("regions", value.regions); }
};

} // namespace tavrin
