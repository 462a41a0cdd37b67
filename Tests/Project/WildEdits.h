#pragma once

#include <array>
#include <random>

#include "FullEdits.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin::test {

/// Puts numbers in a document that a file can hold, however little sense they make there. About one in
/// `rarity` is changed.
inline void makeWild(Json& json, std::mt19937& random, int rarity = 3) {
    constexpr std::array numbers{0.0, -0.0, 1.0, -1.0,  0.5,    0.2,    2.0,
                                 5.0, 20.0, 1e9, 1e308, -1e308, 1e-308, -0.001};
    const auto below = [&](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    if (json.is_structured()) {
        for (auto& [key, value] : json.items()) {
            if (key != "speed") {
                makeWild(value, random, rarity);
            }
        }
    } else if (below(std::size_t(rarity)) == 0) {
        if (json.is_boolean()) {
            json = below(2) == 0;
        } else if (json.is_number_integer()) {
            json = std::array<std::int64_t, 5>{0, -1, 1, 3, INT64_MAX}[below(5)];
        } else if (json.is_number()) {
            json = numbers[below(numbers.size())];
        }
    }
}

/// A document as a file could hold it, with up to five of everything that there is a list of.
inline EditsDocument wildEdits(std::mt19937& random, int rarity = 3) {
    EditsDocument full = fullEdits();
    const auto repeat = [&](auto& records) {
        const auto first = records.front();
        for (int more = std::uniform_int_distribution(0, 4)(random); more > 0; --more) {
            records.push_back(first);
            records.back().id = UUID::make();
            if constexpr (requires { first.startTime; }) {
                records.back().startTime += more * 0.5;
                records.back().endTime += more * 0.7;
            }
        }
    };
    repeat(full.timeline.videoTrack.clips);
    repeat(full.timeline.zoomTrack.segments);
    repeat(full.timeline.speedTrack.regions);
    repeat(full.timeline.annotationTrack.regions);
    repeat(full.timeline.extraAudioTrack.regions);
    for (ZoomSegment& segment : full.timeline.zoomTrack.segments) {
        segment.enabled = true;
    }
    Json json;
    encode(json, full);
    makeWild(json, random, rarity);
    return decodeDocument<EditsDocument>(encodeJson(json));
}

} // namespace tavrin::test
