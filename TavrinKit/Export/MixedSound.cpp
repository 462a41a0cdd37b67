#include "TavrinKit/Export/MixedSound.h"

#include <algorithm>

namespace tavrin {

MixedSound::MixedSound(const MediaAsset& asset, const AudioMix& mix, const AudioTrackSettings& format)
    : mix_(mix), format_(format) {
    for (int track = 0; track < asset.audioTrackCount(); ++track) {
        tracks_.push_back({asset.openAudio(track, format.sampleRate, format.channels), {}, 0});
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
    Track& track = tracks_[std::size_t(index)];
    const auto channels = std::size_t(format_.channels);
    std::size_t filled = 0; // samples
    while (filled < sum_.size()) {
        if (track.taken == track.decoded.size()) {
            auto chunk = track.reader ? track.reader->next() : std::nullopt;
            if (!chunk) {
                track.reader.reset();
                return;
            }
            track.decoded = std::move(*chunk);
            track.taken = 0;
            continue;
        }
        const std::size_t count = std::min(sum_.size() - filled, track.decoded.size() - track.taken);
        for (std::size_t i = 0; i < count; i += channels) {
            const double time =
                double(position_ + std::int64_t((filled + i) / channels)) / format_.sampleRate;
            const auto volume = float(mix_.volumeAt(index, time));
            for (std::size_t channel = 0; channel < channels; ++channel) {
                sum_[filled + i + channel] += volume * track.decoded[track.taken + i + channel];
            }
        }
        filled += count;
        track.taken += count;
    }
}

} // namespace tavrin
