#include "TavrinKit/Export/MixedSound.h"

#include <algorithm>

namespace tavrin {

MixedSound::MixedSound(const MediaAsset& asset, const AudioMix& mix, const AudioTrackSettings& format)
    : mix_(mix), format_(format) {
    for (int track = 0; track < asset.audioTrackCount(); ++track) {
        tracks_.push_back(asset.openAudio(track, format.sampleRate, format.channels));
    }
}

std::span<const float> MixedSound::next(std::size_t frames) {
    sum_.assign(frames * std::size_t(format_.channels), 0.0F);
    for (std::size_t track = 0; track < tracks_.size(); ++track) {
        addTrack(int(track));
    }
    for (float& sample : sum_) {
        sample = std::clamp(sample, -1.0F, 1.0F);
    }
    position_ += std::int64_t(frames);
    return sum_;
}

void MixedSound::addTrack(int index) {
    const auto channels = std::size_t(format_.channels);
    trackSound_.resize(sum_.size());
    tracks_[std::size_t(index)]->read(trackSound_);
    for (std::size_t i = 0; i < sum_.size(); i += channels) {
        const double time = double(position_ + std::int64_t(i / channels)) / format_.sampleRate;
        const auto volume = float(mix_.volumeAt(index, time));
        for (std::size_t channel = 0; channel < channels; ++channel) {
            sum_[i + channel] += volume * trackSound_[i + channel];
        }
    }
}

} // namespace tavrin
