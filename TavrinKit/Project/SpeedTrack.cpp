#include "TavrinKit/Project/SpeedTrack.h"

#include <array>

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TrackOrder.h"

namespace tavrin {
namespace {

constexpr std::array<double, 7> multipliers{0.25, 0.5, 0.75, 1.25, 1.5, 1.75, 2.0};

} // namespace

double multiplier(PlaybackSpeed speed) {
    return multipliers.at(std::size_t(speed));
}

SpeedRegion SpeedRegion::normalized() const {
    SpeedRegion result = *this;
    normalizeTimes(result);
    return result;
}

SpeedTrack SpeedTrack::normalized() const {
    SpeedTrack result = *this;
    sortByStartThenID(result.regions);
    return result;
}

void SpeedTrack::add(SpeedRegion region) {
    regions.push_back(region);
    sortByStartThenID(regions);
}

void SpeedTrack::updateBounds(const UUID& regionID, std::optional<double> start, std::optional<double> end) {
    SpeedRegion* region = findByID(regions, regionID);
    if (region == nullptr) {
        return;
    }
    if (start) {
        region->startTime = atLeast(*start, 0);
    }
    if (end) {
        region->endTime = atLeast(*end, region->startTime);
    }
    sortByStartThenID(regions);
}

void SpeedTrack::setSpeed(const UUID& regionID, PlaybackSpeed speed) {
    if (SpeedRegion* region = findByID(regions, regionID)) {
        region->speed = speed;
    }
}

void SpeedTrack::remove(const UUID& regionID) {
    std::erase_if(regions, [&](const SpeedRegion& region) { return region.id == regionID; });
}

void encode(Json& json, PlaybackSpeed value) {
    encode(json, multiplier(value));
}

void decode(const Json& json, PlaybackSpeed& value) {
    double number = 0;
    decode(json, number);
    const auto found = std::ranges::find(multipliers, number);
    if (found == multipliers.end()) {
        throw JsonError(JsonErrorKind::typeMismatch, "Unknown playback speed " + json.dump() + ".");
    }
    value = PlaybackSpeed(found - multipliers.begin());
}

} // namespace tavrin
