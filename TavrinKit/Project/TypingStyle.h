#pragma once

#include <cstdint>

#include "TavrinKit/Project/StyleTrack.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The overlay of keystroke chips. Any key may be missing in JSON, and the decoder normalises.
struct TypingStyle {
    bool enabled = true;
    double burstGapSeconds = 0.42;       ///< 0.08...1.2
    double holdDurationSeconds = 0.9;    ///< 0.1...3
    double fadeDurationSeconds = 0.4;    ///< 0.08...1.4
    double keyPopDurationSeconds = 0.24; ///< 0.08...0.7
    std::int64_t maxVisibleChips = 10;   ///< 1...16

    [[nodiscard]] TypingStyle normalized() const;

    friend bool operator==(const TypingStyle&, const TypingStyle&) = default;
};

using TypingTrack = StyleTrack<TypingStyle>;

template <>
struct JsonRecord<TypingStyle> {
    static constexpr bool decoderNormalizes = true;
    static void fields(auto& keys, auto& value) {
        keys.tolerated("enabled", value.enabled);
        keys.tolerated("burstGapSeconds", value.burstGapSeconds);
        keys.tolerated("holdDurationSeconds", value.holdDurationSeconds);
        keys.tolerated("fadeDurationSeconds", value.fadeDurationSeconds);
        keys.tolerated("keyPopDurationSeconds", value.keyPopDurationSeconds);
        keys.tolerated("maxVisibleChips", value.maxVisibleChips);
    }
};

} // namespace tavrin
