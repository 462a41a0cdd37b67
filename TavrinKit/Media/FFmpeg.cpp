#include "TavrinKit/Media/FFmpeg.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#include <fmt/format.h>

#include "TavrinKit/Support/Files.h"

namespace tavrin::ffmpeg {
namespace {

/// What a hostile head may have allocated in one piece, for an index of samples that it doesn't hold say:
/// room for the largest picture with eight bytes a pixel, or for a hundred hours of samples.
constexpr std::size_t mostBytesAtOnce = std::size_t(mostPixels) * 10;

thread_local std::string lastComplaint;

void keepComplaint(void*, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_ERROR) {
        return;
    }
    std::array<char, 512> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    std::string words = line.data();
    while (!words.empty() && (words.back() == '\n' || words.back() == '.' || words.back() == ' ')) {
        words.pop_back();
    }
    if (!words.empty()) {
        lastComplaint = std::move(words);
    }
}

/// FFmpeg's own for a negative return value.
std::string text(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> buffer{};
    av_strerror(code, buffer.data(), buffer.size());
    return buffer.data();
}

} // namespace

Frame makeFrame() {
    Frame frame(av_frame_alloc());
    if (!frame) {
        throw std::bad_alloc();
    }
    return frame;
}

Packet makePacket() {
    Packet packet(av_packet_alloc());
    if (!packet) {
        throw std::bad_alloc();
    }
    return packet;
}

CodecContext makeContext(const AVCodec& codec) {
    CodecContext context(avcodec_alloc_context3(&codec));
    if (!context) {
        throw std::bad_alloc();
    }
    return context;
}

CodecContext makeContext(const AVCodec& codec, const AVStream& stream) {
    CodecContext context = makeContext(codec);
    if (avcodec_parameters_to_context(context.get(), stream.codecpar) < 0) {
        throw std::bad_alloc();
    }
    context->pkt_timebase = stream.time_base;
    context->max_pixels = mostPixels;
    return context;
}

void quietLogging() {
    static std::once_flag once;
    std::call_once(once, [] {
        av_log_set_callback(&keepComplaint);
        av_max_alloc(mostBytesAtOnce);
    });
    lastComplaint.clear();
}

std::string reason(int code) {
    const std::string complaint = std::exchange(lastComplaint, {});
    return complaint.empty() ? text(code) : fmt::format("{} ({})", text(code), complaint);
}

void checkMemory(const std::filesystem::path& path, int code) {
    if (code == AVERROR(ENOMEM)) {
        throw FileError("read", path, ENOMEM);
    }
}

bool isReasonable(PixelSize size) {
    return size.width > 0 && size.height > 0 && std::max(size.width, size.height) <= mostPixelsPerSide &&
           std::int64_t(size.width) * size.height <= mostPixels;
}

Sampling samplingOf(const AVFrame& frame) {
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ411P:
        return {AV_PIX_FMT_YUV411P, true};
    case AV_PIX_FMT_YUVJ420P:
        return {AV_PIX_FMT_YUV420P, true};
    case AV_PIX_FMT_YUVJ422P:
        return {AV_PIX_FMT_YUV422P, true};
    case AV_PIX_FMT_YUVJ440P:
        return {AV_PIX_FMT_YUV440P, true};
    case AV_PIX_FMT_YUVJ444P:
        return {AV_PIX_FMT_YUV444P, true};
    default:
        return {AVPixelFormat(frame.format), numberIn(frame.color_range) == AVCOL_RANGE_JPEG};
    }
}

} // namespace tavrin::ffmpeg
