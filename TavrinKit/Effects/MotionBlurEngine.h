#pragma once

#include "TavrinKit/Effects/MotionBlurPlan.h"

namespace tavrin {

struct MotionBlurStyle;

/// Turns a blur intensity and a frame rate into the instants from which a frame is mixed. Pure; any thread.
struct MotionBlurEngine {
    /// Offsets spread evenly over the exposure, from half of it before the frame's time to half of it after.
    /// The exposure is intensity / frame rate, the intensity held to 0...0.65.
    ///
    /// @param frameRate  frames per second; above 240 it counts as 240, below 1 or not finite as 60
    [[nodiscard]] static MotionBlurPlan plan(const MotionBlurStyle& style, MotionBlurQualityMode mode,
                                             double frameRate);

    /// The instants of one frame, one per offset and in their order; duplicates at the ends of the movie
    /// stay.
    ///
    /// @param centerTime  seconds; below 0 counts as 0
    /// @param duration    seconds: where the times end; no end unless positive
    [[nodiscard]] static MotionBlurTimes sampleTimes(double centerTime, double duration,
                                                     const MotionBlurPlan& plan);
};

} // namespace tavrin
