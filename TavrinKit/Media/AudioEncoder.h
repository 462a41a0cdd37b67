#pragma once

#include <cstdint>
#include <span>

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Media/MovieSettings.h"
#include "TavrinKit/Media/VideoEncoder.h"

namespace tavrin {

/// The encoder of a movie's sound, from the movie's start without gaps. One thread at a time.
class AudioEncoder {
public:
    using Deliver = VideoEncoder::Deliver;

    /// @throws MediaError (encoderRefused)
    explicit AudioEncoder(const AudioTrackSettings& settings);

    [[nodiscard]] const AVCodecContext& context() const { return *context_; }

    /// As `MovieWriter::appendAudio`. Packets have times in samples; the first ones, which prime the decoder,
    /// lie before 0.
    /// @throws MediaError (encodingFailed, outOfOrder)
    void append(std::span<const float> interleaved, double time, const Deliver& deliver);

    void drain(const Deliver& deliver);

private:
    void appendSilence(std::int64_t frames, const Deliver& deliver);
    void appendFrames(std::span<const float> interleaved, const Deliver& deliver);
    void fillPending(std::span<const float> interleaved);
    void encodePending(const Deliver& deliver);

    ffmpeg::CodecContext context_;
    int packetSize_ = 0;                 ///< frames
    ffmpeg::Frame pending_;              ///< filled up to `pending_->nb_samples`
    std::int64_t accepted_ = 0;          ///< frames since the start of the movie, silence included
    std::int64_t lastStart_ = INT64_MIN; ///< where the last run began
};

} // namespace tavrin
