#pragma once

#include <cstddef>

#include "TavrinKit/Effects/InlineVectorJson.h"

namespace tavrin {

enum class MotionBlurQualityMode {
    preview, ///< 4 samples a frame
    export_, ///< 16 samples a frame
};

/// How many instants of the take one frame is mixed from.
[[nodiscard]] constexpr int sampleCount(MotionBlurQualityMode mode) {
    return mode == MotionBlurQualityMode::preview ? 4 : 16;
}

/// The most instants that any mode asks for.
inline constexpr std::size_t maximumMotionBlurSamples = 16;

using MotionBlurTimes = InlineVector<double, maximumMotionBlurSamples>;

/// At which instants around its own time a frame is sampled.
struct MotionBlurPlan {
    double intensity = 0; ///< the effective blur, 0...0.65: the share of a frame the shutter is open
    int sampleCount = 0;  ///< as many as there are offsets
    MotionBlurTimes temporalOffsets; ///< seconds relative to the frame's time, ascending

    friend bool operator==(const MotionBlurPlan&, const MotionBlurPlan&) = default;
};

template <>
struct JsonRecord<MotionBlurPlan> {
    static void fields(auto& keys, auto& value) {
        keys.required("intensity", value.intensity);
        keys.required("sampleCount", value.sampleCount);
        keys.required("temporalOffsets", value.temporalOffsets);
    }
};

} // namespace tavrin
