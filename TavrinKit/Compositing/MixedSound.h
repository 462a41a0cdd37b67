#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Media/MovieWriter.h"

namespace tavrin {

/// All audio tracks of an asset as one: decoded, brought to one format, weighted by a mix and added up.
///
/// The sound lasts as long as it is asked for: behind the end of a track stands silence. One thread at a
/// time.
class MixedSound {
public:
    /// @throws MediaError, FileError
    MixedSound(const MediaAsset& asset, const AudioMix& mix, const AudioTrackSettings& format);

    /// The next `frames` frames of sound, interleaved, held to -1...1. Valid until the next call.
    /// @throws MediaError
    [[nodiscard]] std::span<const float> next(std::size_t frames);

private:
    /// A stretch of time over which a volume moves evenly.
    struct VolumeRun {
        double start = 0; ///< seconds; lasts until the next run's
        double volume = 1;
        double slope = 0; ///< a second
    };
    struct Track {
        std::unique_ptr<AssetAudioReader> reader;
        std::vector<VolumeRun> volume; ///< from 0 on
        std::size_t run = 0;           ///< that `position_` lies in
    };

    [[nodiscard]] static std::vector<VolumeRun> volumeRuns(const AudioMix& mix, int track);
    void addTrack(Track& track);

    const AudioTrackSettings format_;
    std::vector<Track> tracks_;
    std::vector<float> trackSound_; ///< of one track at a time
    std::vector<float> sum_;
    std::int64_t position_ = 0; ///< frames given out so far
};

} // namespace tavrin
