#include "TavrinKit/Media/TrackDecoder.h"

#include <algorithm>

#include <fmt/format.h>

#include "TavrinKit/Media/MediaError.h"

namespace tavrin {

TrackDecoder::TrackDecoder(MediaFile& file, int track, int threads)
    : file_(&file), track_(track), packet_(ffmpeg::makePacket()) {
    const AVStream& stream = file.stream(track);
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (codec == nullptr) {
        throw MediaError::decodingFailed(
            file.path(),
            fmt::format("this system has no decoder for {}", avcodec_get_name(stream.codecpar->codec_id)));
    }
    context_ = ffmpeg::makeContext(*codec, stream);
    context_->thread_count = threads;
    if (const int code = avcodec_open2(context_.get(), codec, nullptr); code < 0) {
        ffmpeg::checkMemory(file.path(), code);
        throw MediaError::decodingFailed(file.path(), ffmpeg::reason(code));
    }
    file.readOnly(track);
}

ffmpeg::Frame TrackDecoder::next() {
    ffmpeg::Frame frame = ffmpeg::makeFrame();
    constexpr int mostFailuresWhileDraining = 64;
    for (int failures = 0; failures < mostFailuresWhileDraining;) {
        const int code = avcodec_receive_frame(context_.get(), frame.get());
        if (code == AVERROR_EOF) {
            return nullptr;
        }
        ffmpeg::checkMemory(file_->path(), code);
        if (code == AVERROR(EAGAIN)) {
            feed();
        } else if (code < 0) {
            damage_ += 1;
            failures += isDraining_ ? 1 : 0;
        } else if (frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
            damage_ += 1;
        } else if (takeTime(*frame)) {
            return frame;
        }
    }
    return nullptr;
}

void TrackDecoder::restart() {
    avcodec_flush_buffers(context_.get());
    isDraining_ = false;
    lastTime_ = INT64_MIN;
}

void TrackDecoder::feed() {
    do {
        av_packet_unref(packet_.get());
        if (!file_->read(*packet_)) {
            isDraining_ = true;
            avcodec_send_packet(context_.get(), nullptr);
            return;
        }
    } while (packet_->stream_index != track_);
    const int code = avcodec_send_packet(context_.get(), packet_.get());
    av_packet_unref(packet_.get());
    ffmpeg::checkMemory(file_->path(), code);
    damage_ += code < 0 ? 1 : 0;
}

bool TrackDecoder::takeTime(AVFrame& frame) {
    const bool isFirst = lastTime_ == INT64_MIN;
    if (frame.best_effort_timestamp != AV_NOPTS_VALUE) {
        frame.pts = frame.best_effort_timestamp;
    } else {
        frame.pts = isFirst ? 0 : lastTime_ + lastDuration_;
    }
    if (!isFirst && frame.pts <= lastTime_) {
        return false;
    }
    lastTime_ = frame.pts;
    lastDuration_ = std::max<std::int64_t>(1, frame.pkt_duration);
    return true;
}

} // namespace tavrin
