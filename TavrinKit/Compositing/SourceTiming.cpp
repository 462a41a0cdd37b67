#include "TavrinKit/Compositing/SourceTiming.h"

#include <cmath>
#include <cstdint>
#include <exception>
#include <vector>

#include "TavrinKit/Compositing/EffectBakingLog.h"
#include "TavrinKit/Media/PictureTimes.h"

namespace tavrin {
namespace {

constexpr int inspectedPictures = 48;

double rounded(double interval) {
    constexpr double timescale = 120'000;
    return std::round(interval * timescale) / timescale;
}

bool isUneven(const std::vector<double>& times) {
    constexpr double tolerance = 0.0005;
    const double first = rounded(times[1] - times[0]);
    for (std::size_t i = 2; i < times.size(); ++i) {
        if (std::abs(rounded(times[i] - times[i - 1]) - first) > tolerance) {
            return true;
        }
    }
    return false;
}

/// Whether pictures at the intervals of the first ones fill the track, to what rounded stamps add up to.
bool fillsTrack(const std::vector<double>& times, std::int64_t pictureCount, double trackEnd) {
    constexpr double stampDrift = 1e-4;
    const double interval = (times.back() - times.front()) / double(times.size() - 1);
    const double length = trackEnd - times[0];
    return std::abs(length - double(pictureCount) * interval) <= 1.5 * interval + stampDrift * length;
}

} // namespace

bool sourceHasVariableFrameTiming(const MediaAsset& asset) {
    if (!asset.hasVideo()) {
        return false;
    }
    try {
        const std::vector<double> times = firstPictureTimes(asset.path(), inspectedPictures + 1);
        if (times.size() < 2) {
            return false;
        }
        const VideoTrackInfo& track = asset.videoTrack();
        return isUneven(times) ||
               (track.frameCount > 0 && !fillsTrack(times, track.frameCount, track.duration));
    } catch (...) {
        logEffectBakingRecoverableFailure("sourceHasVariableFrameTiming", std::current_exception());
        return false;
    }
}

double inferredSourceFrameRate(const MediaAsset& asset, double fallback) {
    if (!asset.hasVideo()) {
        return fallback;
    }
    if (const double nominal = asset.videoTrack().nominalFrameRate; std::isfinite(nominal) && nominal > 0) {
        return nominal;
    }
    double shortest = 0;
    try {
        const std::vector<double> times = firstPictureTimes(asset.path(), inspectedPictures + 1);
        for (std::size_t i = 1; i < times.size(); ++i) {
            const double interval = times[i] - times[i - 1];
            if (interval > 0 && (shortest == 0 || interval < shortest)) {
                shortest = interval;
            }
        }
    } catch (...) {
        logEffectBakingRecoverableFailure("inferredSourceFrameRate.loadMinFrameDuration",
                                          std::current_exception());
    }
    return shortest > 0 ? 1 / shortest : fallback;
}

SourceTiming SourceTiming::of(const MediaAsset& asset, double fallbackFrameRate) {
    return {inferredSourceFrameRate(asset, fallbackFrameRate), sourceHasVariableFrameTiming(asset)};
}

TemporalFrameSampler::Options SourceTiming::samplerOptions(double duration, bool isEdited) const {
    constexpr double finestRate = 240;
    const bool isStepped = isVariable || isEdited;
    return {TemporalFrameQuantizer::make(duration, isStepped ? finestRate : frameRate), isStepped};
}

} // namespace tavrin
