#pragma once

#include <cstdint>

namespace tavrin {

/// A time that was asked of a decoder: `value` / `timescale` seconds.
struct TemporalSampleCacheKey {
    std::int64_t value = 0;
    std::int32_t timescale = 60000;

    friend bool operator==(const TemporalSampleCacheKey&, const TemporalSampleCacheKey&) = default;
};

/// The grid of frames on which a movie is sampled.
struct TemporalFrameQuantizer {
    double durationSeconds = 0; ///< of the movie; unknown unless positive
    double frameStep = 1.0 / 60;
    std::int32_t preferredTimeScale = 60000;
    double sampleOffset = 0; ///< seconds by which a sample lies behind its frame's edge

    /// The grid for a frame rate: steps of at least 1/240 s, of 1/60 s for a rate that is none; samples lie a
    /// quarter of a step inside their frame.
    [[nodiscard]] static TemporalFrameQuantizer make(double durationSeconds, double frameRate);

    /// The frame whose time is nearest, halves away from zero. Any value; a NaN counts as 0.
    [[nodiscard]] std::int64_t key(double time) const;

    /// A time safely inside that frame and inside the movie.
    [[nodiscard]] double sampleTime(std::int64_t key) const;

    /// A time in whole units of the preferred time scale.
    [[nodiscard]] TemporalSampleCacheKey cacheKey(double time) const;
};

} // namespace tavrin
