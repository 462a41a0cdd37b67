#include "TavrinKit/Compositing/MixedSound.h"

#include <algorithm>
#include <cmath>

namespace tavrin {

MixedSound::MixedSound(const MediaAsset& asset, const AudioMix& mix, const AudioTrackSettings& format)
    : format_(format) {
    for (int track = 0; track < asset.audioTrackCount(); ++track) {
        tracks_.push_back(
            {asset.openAudio(track, format.sampleRate, format.channels), volumeRuns(mix, track), 0});
    }
}

/// Between the instants at which a ramp starts or ends, a volume moves evenly.
std::vector<MixedSound::VolumeRun> MixedSound::volumeRuns(const AudioMix& mix, int track) {
    std::vector<double> starts{0};
    if (std::size_t(track) < mix.tracks.size()) {
        for (const VolumeRamp& ramp : mix.tracks[std::size_t(track)].ramps) {
            starts.push_back(ramp.startTime);
            starts.push_back(ramp.endTime);
        }
    }
    std::erase_if(starts, [](double time) { return !std::isfinite(time) || time < 0; });
    std::sort(starts.begin(), starts.end());
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());

    std::vector<VolumeRun> runs;
    for (std::size_t i = 0; i < starts.size(); ++i) {
        const double step = i + 1 < starts.size() ? (starts[i + 1] - starts[i]) / 2 : 1;
        const double volume = mix.volumeAt(track, starts[i]);
        runs.push_back({starts[i], volume, (mix.volumeAt(track, starts[i] + step) - volume) / step});
    }
    return runs;
}

std::span<const float> MixedSound::next(std::size_t frames) {
    sum_.assign(frames * std::size_t(format_.channels), 0.0F);
    trackSound_.resize(sum_.size());
    for (Track& track : tracks_) {
        addTrack(track);
    }
    for (float& sample : sum_) {
        sample = std::clamp(sample, -1.0F, 1.0F);
    }
    position_ += std::int64_t(frames);
    return sum_;
}

void MixedSound::addTrack(Track& track) {
    const auto channels = std::size_t(format_.channels);
    track.reader->read(trackSound_);
    for (std::size_t i = 0; i < sum_.size(); i += channels) {
        const double time = double(position_ + std::int64_t(i / channels)) / format_.sampleRate;
        while (track.run + 1 < track.volume.size() && track.volume[track.run + 1].start <= time) {
            track.run += 1;
        }
        const VolumeRun& run = track.volume[track.run];
        const auto volume = float(run.volume + (time - run.start) * run.slope);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            sum_[i + channel] += volume * trackSound_[i + channel];
        }
    }
}

} // namespace tavrin
