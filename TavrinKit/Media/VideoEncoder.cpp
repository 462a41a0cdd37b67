#include "TavrinKit/Media/VideoEncoder.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include <fmt/format.h>

extern "C" {
#include <libavutil/buffer.h>
}

namespace tavrin {
namespace {

using ffmpeg::Options;

constexpr AVRational microseconds = {1, 1'000'000};

bool isH264(const VideoTrackSettings& settings) {
    return settings.codec == VideoCodec::h264;
}

bool isProRes(const VideoTrackSettings& settings) {
    return settings.codec == VideoCodec::proRes422;
}

const char* encoderFor(VideoCodec codec) {
    switch (codec) {
    case VideoCodec::h264:
        return "libx264";
    case VideoCodec::hevc:
        return "libx265";
    case VideoCodec::proRes422:
        return "prores_ks";
    }
    return "libx264";
}

const char* nameOf(EncoderEffort effort) {
    switch (effort) {
    case EncoderEffort::ultrafast:
        return "ultrafast";
    case EncoderEffort::superfast:
        return "superfast";
    case EncoderEffort::veryfast:
        return "veryfast";
    }
    return "veryfast";
}

const char* nameOf(VideoProfile profile) {
    switch (profile) {
    case VideoProfile::h264Baseline:
        return "baseline";
    case VideoProfile::h264Main:
        return "main";
    case VideoProfile::h264High:
        return "high";
    case VideoProfile::hevcMain:
        return "main";
    }
    return "high";
}

void check(const VideoTrackSettings& settings) {
    const PixelSize size = settings.size;
    if (!ffmpeg::isReasonable(size) || size.width % 2 != 0 || size.height % 2 != 0) {
        throw MediaError::encoderRefused(fmt::format(
            "a picture of {} x {} pixels cannot be encoded, width and height must be even and at most {}",
            size.width, size.height, ffmpeg::mostPixelsPerSide));
    }
    if (!isProRes(settings) && isH264(settings) == (settings.profile == VideoProfile::hevcMain)) {
        throw MediaError::encoderRefused("the profile belongs to another codec");
    }
    if (settings.frameRate && (*settings.frameRate < 1 || *settings.frameRate > 1000)) {
        throw MediaError::encoderRefused(
            fmt::format("{} frames per second are not possible", *settings.frameRate));
    }
}

/// Sliced threads let every picture out at once. Below some size one thread keeps up and costs the least.
int lowLatencyThreads(PixelSize size) {
    constexpr std::int64_t pixelsPerThread = 1920 * 1200;
    const auto wanted = (std::int64_t(size.width) * size.height + pixelsPerThread - 1) / pixelsPerThread;
    return int(std::clamp<std::int64_t>(wanted, 1, std::max(1U, std::thread::hardware_concurrency())));
}

void configure(AVCodecContext& context, const VideoTrackSettings& settings) {
    context.width = settings.size.width;
    context.height = settings.size.height;
    context.pix_fmt = isProRes(settings) ? AV_PIX_FMT_YUV422P10 : AV_PIX_FMT_YUV420P;
    context.sample_aspect_ratio = {1, 1};
    context.color_range = AVCOL_RANGE_MPEG;
    context.color_primaries = AVCOL_PRI_BT709;
    context.color_trc = AVCOL_TRC_BT709;
    context.colorspace = AVCOL_SPC_BT709;
    context.chroma_sample_location = AVCHROMA_LOC_LEFT;
    context.time_base = settings.frameRate ? AVRational{1, *settings.frameRate} : microseconds;
    // Without a rate of its own a movie is planned for 60; the true times only steer the rate control.
    context.framerate = {settings.frameRate.value_or(60), 1};
    context.thread_count = settings.threads;
    context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (!isProRes(settings)) {
        context.gop_size = std::max(1, settings.maximumKeyFrameInterval);
        context.max_b_frames = 0;
        context.bit_rate = settings.averageBitRate.value_or(0);
        context.qmin = settings.finestQuantizer > 0 ? settings.finestQuantizer : context.qmin;
    }
}

void setOptions(AVCodecContext& context, const VideoTrackSettings& settings, Options& options) {
    if (isProRes(settings)) {
        options.set("profile", "standard").set("vendor", "apl0");
        return;
    }
    options.set("preset", nameOf(settings.effort)).set("profile", nameOf(settings.profile));
    if (!settings.averageBitRate) {
        options.set("crf", fmt::format("{}", settings.constantQuality));
    }
    if (!isH264(settings)) {
        if (settings.lowLatency) {
            options.set("tune", "zerolatency");
        }
        options.set("x265-params", "log-level=none");
        return;
    }
    if (settings.lowLatency) {
        context.thread_type = FF_THREAD_SLICE;
        context.thread_count = settings.threads > 0 ? settings.threads : lowLatencyThreads(settings.size);
        options.set("x264-params", "rc-lookahead=0:sync-lookahead=0:mbtree=0:force-cfr=1");
    }
}

/// A frame that borrows the picture's planes and keeps the picture as long as the encoder wants it.
ffmpeg::Frame borrow(const PixelBuffer& picture) {
    ffmpeg::Frame frame = ffmpeg::makeFrame();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = picture.size().width;
    frame->height = picture.size().height;
    for (int i = 0; i < 3; ++i) {
        frame->data[i] = picture.plane(i).data;
        frame->linesize[i] = int(picture.plane(i).stride);
    }
    auto owner = std::make_unique<PixelBuffer>(picture);
    frame->buf[0] = av_buffer_create(
        picture.plane(0).data, std::size_t(std::abs(picture.plane(0).stride)) * std::size_t(frame->height),
        [](void* opaque, std::uint8_t*) { delete static_cast<PixelBuffer*>(opaque); }, owner.get(),
        AV_BUFFER_FLAG_READONLY);
    if (frame->buf[0] == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(owner.release()); // the buffer has it now
    return frame;
}

} // namespace

VideoEncoder::VideoEncoder(const VideoTrackSettings& settings) {
    ffmpeg::quietLogging();
    check(settings);
    const char* name = encoderFor(settings.codec);
    const AVCodec* codec = avcodec_find_encoder_by_name(name);
    if (codec == nullptr) {
        throw MediaError::encoderRefused(fmt::format("this system's libavcodec comes without {}", name));
    }
    context_ = ffmpeg::makeContext(*codec);
    Options options;
    configure(*context_, settings);
    setOptions(*context_, settings, options);
    if (const int code = avcodec_open2(context_.get(), codec, options.get()); code < 0) {
        throw MediaError::encoderRefused(ffmpeg::reason(code));
    }
    if (isProRes(settings)) {
        const auto [width, height] = settings.size;
        widener_.reset(sws_getContext(width, height, AV_PIX_FMT_YUV420P, width, height, context_->pix_fmt,
                                      SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
        if (!widener_) {
            throw MediaError::encoderRefused("its pictures cannot be brought to 4:2:2");
        }
    }
}

/// Chroma goes from half to all rows, eight bits become ten; matrix and range stay.
ffmpeg::Frame VideoEncoder::widened(const AVFrame& frame) {
    ffmpeg::Frame result = ffmpeg::makeFrame();
    result->format = context_->pix_fmt;
    result->width = frame.width;
    result->height = frame.height;
    if (av_frame_get_buffer(result.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    if (const int code = sws_scale(widener_.get(), frame.data, frame.linesize, 0, frame.height, result->data,
                                   result->linesize);
        code < 0) {
        throw MediaError::encodingFailed(ffmpeg::reason(code));
    }
    return result;
}

void VideoEncoder::encode(const PixelBuffer& picture, std::int64_t time, const Deliver& deliver) {
    const bool isUpright =
        picture.plane(0).stride > 0 && picture.plane(1).stride > 0 && picture.plane(2).stride > 0;
    PixelBuffer upright = picture;
    if (!isUpright) {
        upright = PixelBuffer::allocate(PixelFormat::i420, picture.size());
        upright.copyFrom(picture);
    }
    ffmpeg::Frame frame = borrow(upright);
    if (widener_) {
        frame = widened(*frame);
    }
    frame->color_range = context_->color_range;
    frame->color_primaries = context_->color_primaries;
    frame->color_trc = context_->color_trc;
    frame->colorspace = context_->colorspace;
    frame->sample_aspect_ratio = context_->sample_aspect_ratio;
    frame->pts = time;
    encodeFrame(*context_, frame.get(), deliver);
}

void VideoEncoder::drain(const Deliver& deliver) {
    encodeFrame(*context_, nullptr, deliver);
}

void encodeFrame(AVCodecContext& context, const AVFrame* frame, const VideoEncoder::Deliver& deliver) {
    if (const int code = avcodec_send_frame(&context, frame); code < 0) {
        throw MediaError::encodingFailed(ffmpeg::reason(code));
    }
    const ffmpeg::Packet packet = ffmpeg::makePacket();
    for (;;) {
        const int code = avcodec_receive_packet(&context, packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) {
            return;
        }
        if (code < 0) {
            throw MediaError::encodingFailed(ffmpeg::reason(code));
        }
        deliver(*packet);
        av_packet_unref(packet.get());
    }
}

} // namespace tavrin
