#pragma once

#include <cstdint>

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

struct TypingTrack {
    TypingStyle style{};

    friend bool operator==(const TypingTrack&, const TypingTrack&) = default;
};

void encode(Json& json, const TypingStyle& value);
void encode(Json& json, const TypingTrack& value);
void decode(const Json& json, TypingStyle& value);
void decode(const Json& json, TypingTrack& value);

} // namespace tavrin
