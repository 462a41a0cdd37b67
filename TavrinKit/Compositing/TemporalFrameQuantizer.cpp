#include "TavrinKit/Compositing/TemporalFrameQuantizer.h"

#include <algorithm>
#include <cmath>

namespace tavrin {
namespace {

/// Nearest whole number, halves away from zero, held to what the type can say.
std::int64_t nearestWhole(double value) {
    constexpr double most = 9.0e18;
    return std::isnan(value) ? 0 : std::llround(std::clamp(value, -most, most));
}

} // namespace

TemporalFrameQuantizer TemporalFrameQuantizer::make(double durationSeconds, double frameRate) {
    TemporalFrameQuantizer quantizer;
    quantizer.durationSeconds = std::isfinite(durationSeconds) ? std::max(durationSeconds, 0.0) : 0;
    quantizer.frameStep =
        std::isfinite(frameRate) && frameRate >= 1 ? 1 / std::min(frameRate, 240.0) : 1.0 / 60;
    quantizer.sampleOffset = quantizer.frameStep * 0.25;
    return quantizer;
}

std::int64_t TemporalFrameQuantizer::key(double time) const {
    double held = std::max(std::isnan(time) ? 0.0 : time, 0.0);
    if (durationSeconds > 0) {
        held = std::min(held, durationSeconds);
    }
    return nearestWhole(held / frameStep);
}

double TemporalFrameQuantizer::sampleTime(std::int64_t key) const {
    const double time = double(key) * frameStep;
    if (!(durationSeconds > 0)) {
        return std::max(time + sampleOffset, 0.0);
    }
    const double last = durationSeconds - std::min(durationSeconds / 2, sampleOffset);
    const double inside = std::max(std::min(std::max(time, 0.0), durationSeconds) + sampleOffset, 0.0);
    return std::min(inside, std::max(last, 0.0));
}

TemporalSampleCacheKey TemporalFrameQuantizer::cacheKey(double time) const {
    return {nearestWhole(time * preferredTimeScale), preferredTimeScale};
}

} // namespace tavrin
