#pragma once

#include <cstdint>
#include <functional>

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Media/MovieSettings.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// The encoder of a movie's video track. One thread at a time.
class VideoEncoder {
public:
    /// Takes the packet's contents or leaves them; the packet is reused.
    using Deliver = std::function<void(AVPacket&)>;

    /// @throws MediaError (encoderRefused)
    explicit VideoEncoder(const VideoTrackSettings& settings);

    [[nodiscard]] const AVCodecContext& context() const { return *context_; }
    [[nodiscard]] AVRational timeBase() const { return context_->time_base; }

    /// Encodes one picture, if it can without copying it, and hands on what the encoder has ready.
    /// @param picture  i420 of the track's size; no longer needed when this returns
    /// @param time     in units of `timeBase`
    /// @throws MediaError (encodingFailed)
    void encode(const PixelBuffer& picture, std::int64_t time, const Deliver& deliver);

    /// Hands on all that is left. Nothing may be encoded after that.
    void drain(const Deliver& deliver);

private:
    [[nodiscard]] ffmpeg::Frame widened(const AVFrame& frame);

    ffmpeg::CodecContext context_;
    ffmpeg::Scaler widener_; ///< to the 4:2:2 of an encoder that wants it; null for the others
};

/// Sends a frame, or the end, to an encoder and hands on the packets that it then has.
/// @throws MediaError (encodingFailed)
void encodeFrame(AVCodecContext& context, const AVFrame* frame, const VideoEncoder::Deliver& deliver);

} // namespace tavrin
