#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "TavrinKit/Media/MediaError.h"

namespace tavrin {

/// Decodes one audio track to interleaved float at a chosen rate and channel count.
///
/// One thread at a time.
class AudioReader {
public:
    /// @param track       index among the audio tracks
    /// @param sampleRate  1000...768000
    /// @param channels    1...64
    /// @throws MediaError; FileError when the system can't read the file
    AudioReader(const std::filesystem::path& path, int track, int sampleRate, int channels);
    ~AudioReader();
    AudioReader(const AudioReader&) = delete;
    AudioReader& operator=(const AudioReader&) = delete;

    /// The next run of frames in time order, without gaps: silence stands where the track has none. Starts
    /// at time 0 of the movie.
    /// @return nothing at the end
    /// @throws MediaError
    [[nodiscard]] std::optional<std::vector<float>> next();

    /// The next `next` starts with this frame of the movie, counted from time 0 at the chosen rate. What
    /// comes then is what reading through from the start would have given there.
    /// @param frame  below 0 counts as 0
    /// @throws MediaError
    void seek(std::int64_t frame);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
