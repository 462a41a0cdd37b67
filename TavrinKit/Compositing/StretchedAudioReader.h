#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/MediaStretch.h"
#include "TavrinKit/Media/AudioFollower.h"
#include "TavrinKit/Media/TimeStretcher.h"

namespace tavrin {

/// The sound of a file's track as its stretches play it.
///
/// A stretch fills the frames from round(start x rate) to round(end x rate) of its place. One at speed 1 is
/// copied frame by frame. Where the source jumps or changes its speed, what went on fades out over the first
/// two milliseconds of what follows, so that nothing clicks.
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

    [[nodiscard]] bool continues(const Part& last, const Part& next) const;
    void begin();
    void leave();
    void readPart(std::int64_t position, std::span<float> out);
    void fade(std::span<float> out);

    AudioFollower sound_;
    const int sampleRate_;
    const std::size_t channels_;
    std::vector<Part> parts_;
    std::size_t current_ = 0;                ///< the first part that doesn't end at or before `position_`
    std::int64_t position_ = 0;              ///< the frame that comes next
    std::optional<TimeStretcher> stretcher_; ///< while the current part isn't at speed 1
    std::vector<float> tail_;                ///< of the last part, beyond its end
    std::size_t tailTaken_ = 0;              ///< samples of it that were mixed in
};

} // namespace tavrin
