#include "TavrinKit/Effects/MotionBlurEngine.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "TavrinKit/Project/MotionBlurStyle.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TavrinConstants.h"

namespace tavrin {
namespace {

double effectiveFrameRate(double frameRate) {
    return std::isfinite(frameRate) && frameRate >= 1 ? std::min(frameRate, 240.0) : 60.0;
}

} // namespace

MotionBlurPlan MotionBlurEngine::plan(const MotionBlurStyle& style, MotionBlurQualityMode mode,
                                      double frameRate) {
    MotionBlurPlan plan;
    plan.intensity = clampedTo(style.intensity, TavrinConstants::minimumMotionBlurIntensity,
                               TavrinConstants::maximumMotionBlurIntensity);
    plan.sampleCount = sampleCount(mode);
    const double exposure = plan.intensity / effectiveFrameRate(frameRate);
    for (int i = 0; i < plan.sampleCount; ++i) {
        plan.temporalOffsets.push_back(exposure * (double(i) / (plan.sampleCount - 1) - 0.5));
    }
    return plan;
}

MotionBlurTimes MotionBlurEngine::sampleTimes(double centerTime, double duration,
                                              const MotionBlurPlan& plan) {
    const double center = atLeast(centerTime, 0);
    const double end = duration > 0 ? duration : std::numeric_limits<double>::infinity();
    const MotionBlurTimes offsets = plan.temporalOffsets.empty() ? MotionBlurTimes{0} : plan.temporalOffsets;
    MotionBlurTimes times;
    for (const double offset : offsets) {
        times.push_back(clampedTo(center + offset, 0, end));
    }
    return times;
}

} // namespace tavrin
