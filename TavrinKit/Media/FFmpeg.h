#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include "TavrinKit/Support/Geometry.h"

/// What this folder's sources share of FFmpeg: owning pointers and the few conversions at its border.
/// No header that others include may include this one.
namespace tavrin::ffmpeg {

struct Free {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVIOContext* file) const { avio_close(file); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
    void operator()(SwrContext* context) const { swr_free(&context); }
};

using Frame = std::unique_ptr<AVFrame, Free>;
using Packet = std::unique_ptr<AVPacket, Free>;
using InputFile = std::unique_ptr<AVIOContext, Free>;
using CodecContext = std::unique_ptr<AVCodecContext, Free>;
using CodecParameters = std::unique_ptr<AVCodecParameters, Free>;
using Scaler = std::unique_ptr<SwsContext, Free>;
using Resampler = std::unique_ptr<SwrContext, Free>;

/// @throws std::bad_alloc
[[nodiscard]] Frame makeFrame();
[[nodiscard]] Packet makePacket();
/// Yet to be set up and opened.
[[nodiscard]] CodecContext makeContext(const AVCodec& codec);
/// The same for a decoder of what is in the stream, which takes no larger pictures than `mostPixels`.
[[nodiscard]] CodecContext makeContext(const AVCodec& codec, const AVStream& stream);

/// A dictionary of options that frees itself.
class Options {
public:
    Options() = default;
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
    ~Options() { av_dict_free(&dictionary_); }

    Options& set(const char* key, const std::string& value) {
        av_dict_set(&dictionary_, key, value.c_str(), 0);
        return *this;
    }
    [[nodiscard]] AVDictionary** get() { return &dictionary_; }

private:
    AVDictionary* dictionary_ = nullptr;
};

/// Nothing that FFmpeg says reaches standard error from here on; `reason` has its last complaint.
/// Called before anything else of FFmpeg; harmless more than once, on any thread.
void quietLogging();

/// FFmpeg's text for a negative return value and, where one of the libraries complained on this thread since
/// the last call, its words.
[[nodiscard]] std::string reason(int code);

/// A file for which there is no memory now isn't damaged.
/// @param code  of a function that has to do with the file
/// @throws FileError (other) when memory has run out
void checkMemory(const std::filesystem::path& path, int code);

/// Sides and areas beyond these are taken for an attack rather than a picture.
constexpr int mostPixelsPerSide = 16384;
constexpr std::int64_t mostPixels = std::int64_t(1) << 26;

[[nodiscard]] bool isReasonable(PixelSize size);

/// What a file says for an enumeration, which need not be one of its values.
template <typename Enum>
[[nodiscard]] int numberIn(const Enum& value) {
    int number = 0;
    static_assert(sizeof number == sizeof value);
    std::memcpy(&number, &value, sizeof number);
    return number;
}

struct Sampling {
    AVPixelFormat format;
    bool isFullRange;
};

/// Of a decoded picture. The formats with a J are the plain ones in full range; their old names only make
/// swscale complain.
[[nodiscard]] Sampling samplingOf(const AVFrame& frame);

} // namespace tavrin::ffmpeg
