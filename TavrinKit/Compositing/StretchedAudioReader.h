#pragma once

#include <cstdint>
#include <vector>

#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/MediaStretch.h"

namespace tavrin {

/// The sound of a file's track as its stretches play it.
///
/// A stretch fills the frames from round(start x rate) to round(end x rate) of its place. One at speed 1 is
/// copied frame by frame.
class StretchedAudioReader : public AssetAudioReader {
public:
    StretchedAudioReader(AudioFollower sound, const MediaStretches& stretches, int sampleRate, int channels);

    void read(std::span<float> out) override;

private:
    /// A stretch in frames at the chosen rate.
    struct Part {
        std::int64_t start = 0; ///< of its place
        std::int64_t end = 0;
        std::int64_t source = 0; ///< the file's frame at `start`
        double speed = 1;
    };

    void readPart(const Part& part, std::span<float> out);

    AudioFollower sound_;
    const std::size_t channels_;
    std::vector<Part> parts_;
    std::size_t current_ = 0;   ///< the first part that doesn't end at or before `position_`
    std::int64_t position_ = 0; ///< the frame that comes next
};

} // namespace tavrin
