#include "TavrinKit/Compositing/AudioMixing.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

constexpr double loudestRecorded = 4;
constexpr double loudestExtra = 2;

double noiseReductionPenaltyDB(NoiseReductionLevel level) {
    switch (level) {
    case NoiseReductionLevel::off:
        return 0;
    case NoiseReductionLevel::low:
        return -0.8;
    case NoiseReductionLevel::medium:
        return -1.6;
    case NoiseReductionLevel::high:
        return -2.4;
    }
    return 0;
}

double factorOfDB(double decibels) {
    return std::pow(10, decibels / 20);
}

double recordedVolume(const AudioTrackStyle& style) {
    if (style.muted) {
        return 0;
    }
    const double gain = std::isnan(style.gainDB) ? 0 : style.gainDB;
    const double volume = factorOfDB(gain) * factorOfDB(noiseReductionPenaltyDB(style.noiseReductionLevel));
    return clampedTo(volume, 0, loudestRecorded);
}

double extraVolume(double volume) {
    return clampedTo(std::isnan(volume) ? 1 : volume, 0, loudestExtra);
}

AudioTrackMix faded(double volume, const AudioTrackStyle& style, double duration) {
    const double fadeIn = clampedTo(style.fadeInSeconds, 0, duration);
    const double fadeOut = clampedTo(style.fadeOutSeconds, 0, duration);
    double fullFrom = fadeIn;
    double fullUntil = duration - fadeOut;
    double loudest = volume;
    if (fullFrom > fullUntil) {
        fullFrom = fullUntil = duration * (fadeIn / (fadeIn + fadeOut));
        loudest = volume * (duration / (fadeIn + fadeOut));
    }
    AudioTrackMix mix{loudest, {}};
    if (fullFrom > 0) {
        mix.ramps.push_back({0, fullFrom, 0, loudest});
    }
    if (fullUntil < duration) {
        mix.ramps.push_back({fullUntil, duration, loudest, 0});
    }
    return mix;
}

} // namespace

AudioTrackRole roleOfScreenTrack(int index) {
    switch (index) {
    case 0:
        return AudioTrackRole::system;
    case 1:
        return AudioTrackRole::microphone;
    default:
        return AudioTrackRole::camera;
    }
}

std::vector<double> resolvedTrackVolumes(std::span<const PlannedAudioTrack> tracks,
                                         const AudioMixState& mixState) {
    std::vector<double> volumes;
    for (const PlannedAudioTrack& track : tracks) {
        volumes.push_back(track.extraAudioVolume ? extraVolume(*track.extraAudioVolume)
                                                 : recordedVolume(mixState.style(track.role)));
    }
    return volumes;
}

AudioMix makeAudioMix(std::span<const PlannedAudioTrack> tracks, const AudioMixState& mixState,
                      double duration) {
    AudioMix mix;
    const std::vector<double> volumes = resolvedTrackVolumes(tracks, mixState);
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        mix.tracks.push_back(tracks[i].extraAudioVolume
                                 ? AudioTrackMix{volumes[i], {}}
                                 : faded(volumes[i], mixState.style(tracks[i].role), duration));
    }
    return mix;
}

} // namespace tavrin
