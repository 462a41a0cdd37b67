#pragma once

#include <cstdint>

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/MediaFile.h"

namespace tavrin {

/// Decodes one track of a file from wherever the file stands. What cannot be decoded is passed over.
class TrackDecoder {
public:
    /// @param threads  of the decoder
    /// @throws MediaError (unreadable, decodingFailed), FileError
    TrackDecoder(MediaFile& file, int track, int threads);

    /// The next frame in presentation order. Its `pts` is always set and grows.
    /// @return null at the end
    /// @throws FileError when the file can't be read on or memory runs out
    [[nodiscard]] ffmpeg::Frame next();

    /// Forgets what it holds: the file has been moved to another place.
    void restart();

    /// Something could not be decoded since the start.
    [[nodiscard]] bool hasSeenDamage() const { return damage_ > 0; }

private:
    void feed();
    [[nodiscard]] bool takeTime(AVFrame& frame);

    MediaFile* file_;
    int track_;
    ffmpeg::CodecContext context_;
    ffmpeg::Packet packet_;
    bool isDraining_ = false;
    int damage_ = 0;
    std::int64_t lastTime_ = INT64_MIN;
    std::int64_t lastDuration_ = 1;
};

} // namespace tavrin
