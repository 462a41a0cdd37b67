#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "TavrinKit/Media/AudioReader.h"

namespace tavrin {

/// The sound of a track at any place.
///
/// Places that grow are read through without seeking. One thread at a time.
class AudioFollower {
public:
    /// As an AudioReader.
    AudioFollower(const std::filesystem::path& path, int track, int sampleRate, int channels);

    /// Fills `out` with the sound from a frame on; silence stands before the movie's start and behind the
    /// end.
    /// @param out  a whole number of frames
    /// @throws MediaError
    void read(std::int64_t frame, std::span<float> out);

private:
    void moveTo(std::int64_t frame);
    [[nodiscard]] bool refill();

    std::unique_ptr<AudioReader> reader_;
    int sampleRate_;
    std::size_t channels_;
    std::int64_t position_ = 0; ///< the frame that comes next
    std::vector<float> decoded_;
    std::size_t taken_ = 0; ///< samples of `decoded_` that were used
    bool hasEnded_ = false;
};

} // namespace tavrin
