#include "TavrinKit/Media/StillImageReader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include <fmt/format.h>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/Orientation.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using ffmpeg::CodecContext;
using ffmpeg::Frame;
using ffmpeg::Packet;
using ffmpeg::Scaler;

MediaError unreadable(const std::filesystem::path& path, std::string_view reason) {
    return {MediaErrorKind::unreadable,
            fmt::format("Unable to read \"{}\" as a picture: {}.", path.string(), reason)};
}

MediaError undecodable(const std::filesystem::path& path, std::string_view reason) {
    return {MediaErrorKind::decodingFailed,
            fmt::format("Unable to decode the picture \"{}\": {}.", path.string(), reason)};
}

/// A file's bytes as FFmpeg's input: nothing that they refer to can be opened.
class MemoryInput {
public:
    explicit MemoryInput(std::string_view bytes) : rest_(bytes), bytes_(bytes) {
        constexpr int bufferSize = 1 << 16;
        auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
        io_ = buffer ? avio_alloc_context(buffer, bufferSize, 0, this, read, nullptr, seek) : nullptr;
        format_ = io_ ? avformat_alloc_context() : nullptr;
        if (!format_) {
            throw std::bad_alloc();
        }
        format_->pb = io_;
        format_->flags |=
            AVFMT_FLAG_CUSTOM_IO; // so that closing leaves it to us, whether or not it was opened
    }
    ~MemoryInput() {
        avformat_close_input(&format_);
        av_freep(&io_->buffer);
        avio_context_free(&io_);
    }
    MemoryInput(const MemoryInput&) = delete;
    MemoryInput& operator=(const MemoryInput&) = delete;

    /// @return FFmpeg's code
    int open() {
        const AVInputFormat* kind = nullptr;
        // Without the file's name: one with a number pattern in it would be taken for a sequence of files.
        const int probed = av_probe_input_buffer2(io_, &kind, "", nullptr, 0, 0);
        if (probed < 0) {
            return probed;
        }
        if (!isStillFormat(kind->name)) {
            return AVERROR_INVALIDDATA;
        }
        ffmpeg::Options options;
        if (std::string_view(kind->name).ends_with("_pipe")) {
            options.set("frame_size", std::to_string(bytes_.size()));
        }
        const int opened = avformat_open_input(&format_, "", kind, options.get());
        return opened < 0 ? opened : avformat_find_stream_info(format_, nullptr);
    }

    [[nodiscard]] AVFormatContext* format() const { return format_; }

private:
    static bool isStillFormat(std::string_view name) {
        constexpr std::array others{std::string_view("gif"), std::string_view("apng")};
        return name.ends_with("_pipe") || std::find(others.begin(), others.end(), name) != others.end();
    }

    static int read(void* self, std::uint8_t* target, int size) {
        auto& input = *static_cast<MemoryInput*>(self);
        const std::size_t count = std::min(std::size_t(size), input.rest_.size());
        if (count == 0) {
            return AVERROR_EOF;
        }
        std::memcpy(target, input.rest_.data(), count);
        input.rest_.remove_prefix(count);
        return int(count);
    }

    static std::int64_t seek(void* self, std::int64_t offset, int whence) {
        auto& input = *static_cast<MemoryInput*>(self);
        const auto size = std::int64_t(input.bytes_.size());
        if ((whence & AVSEEK_SIZE) != 0) {
            return size;
        }
        const std::int64_t position = size - std::int64_t(input.rest_.size());
        const int from = whence & ~AVSEEK_FORCE;
        const std::int64_t target = offset + (from == SEEK_CUR ? position : from == SEEK_END ? size : 0);
        if (target < 0 || target > size) {
            return AVERROR(EINVAL);
        }
        input.rest_ = input.bytes_.substr(std::size_t(target));
        return target;
    }

    std::string_view rest_;
    std::string_view bytes_;
    AVIOContext* io_ = nullptr;
    AVFormatContext* format_ = nullptr;
};

CodecContext openDecoder(const AVStream& stream, const std::filesystem::path& path,
                         const StillImageLimits& limits) {
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (codec == nullptr) {
        throw unreadable(path, "nothing here decodes its format");
    }
    CodecContext context = ffmpeg::makeContext(*codec, stream);
    context->max_pixels = limits.pixels;
    context->thread_count = 1;
    if (const int opened = avcodec_open2(context.get(), codec, nullptr); opened < 0) {
        throw undecodable(path, ffmpeg::reason(opened));
    }
    return context;
}

/// The first picture that the decoder gives.
Frame decodeFirst(AVFormatContext* format, int stream, AVCodecContext* decoder,
                  const std::filesystem::path& path) {
    Frame frame = ffmpeg::makeFrame();
    Packet packet = ffmpeg::makePacket();
    int problem = AVERROR_INVALIDDATA;
    for (bool atEnd = false; !atEnd;) {
        atEnd = av_read_frame(format, packet.get()) < 0;
        if (!atEnd && packet->stream_index != stream) {
            av_packet_unref(packet.get());
            continue;
        }
        const int sent = avcodec_send_packet(decoder, atEnd ? nullptr : packet.get());
        av_packet_unref(packet.get());
        problem = sent < 0 ? sent : problem;
        if (avcodec_receive_frame(decoder, frame.get()) == 0) {
            return frame;
        }
    }
    throw undecodable(path, ffmpeg::reason(problem));
}

PixelSize heldTo(PixelSize size, int longerSide) {
    const int longer = std::max(size.width, size.height);
    if (longer <= longerSide) {
        return size;
    }
    const double scale = double(longerSide) / longer;
    return {std::max(int(std::lround(size.width * scale)), 1),
            std::max(int(std::lround(size.height * scale)), 1)};
}

bool isRGB(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return descriptor != nullptr && (descriptor->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

/// As bgra8, but not premultiplied yet.
PixelBuffer converted(const AVFrame& frame, const std::filesystem::path& path,
                      const StillImageLimits& limits) {
    const auto [format, isFullRange] = ffmpeg::samplingOf(frame);
    const PixelSize size = heldTo({frame.width, frame.height}, limits.longerSide);
    const bool scales = size != PixelSize{frame.width, frame.height};
    const int flags =
        (scales ? SWS_AREA : SWS_BICUBIC) | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    const Scaler scaler(sws_getContext(frame.width, frame.height, format, size.width, size.height,
                                       AV_PIX_FMT_BGRA, flags, nullptr, nullptr, nullptr));
    if (!scaler) {
        throw undecodable(path, "its pixel format cannot be converted");
    }
    if (!isRGB(format)) {
        // Stills say BT.601 by saying nothing.
        const int space = frame.colorspace == AVCOL_SPC_UNSPECIFIED ? SWS_CS_ITU601 : int(frame.colorspace);
        sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(space), isFullRange ? 1 : 0,
                                 sws_getCoefficients(SWS_CS_ITU709), 1, 0, 1 << 16, 1 << 16);
    }
    PixelBuffer picture = PixelBuffer::allocate(PixelFormat::bgra8, size);
    const std::array<std::uint8_t*, 4> planes{picture.row(0, 0)};
    const std::array<int, 4> strides{int(picture.plane(0).stride)};
    if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes.data(), strides.data()) !=
        size.height) {
        throw undecodable(path, "its pixels cannot be converted");
    }
    return picture;
}

void premultiply(const PixelBuffer& picture) {
    for (int y = 0; y < picture.size().height; ++y) {
        std::uint8_t* pixel = picture.row(0, y);
        for (int x = 0; x < picture.size().width; ++x, pixel += 4) {
            const int alpha = pixel[3];
            if (alpha == 255) {
                continue;
            }
            for (int channel = 0; channel < 3; ++channel) {
                pixel[channel] = std::uint8_t((pixel[channel] * alpha + 127) / 255);
            }
        }
    }
}

Orientation orientationOf(const AVFrame& frame) {
    if (const AVDictionaryEntry* entry = av_dict_get(frame.metadata, "Orientation", nullptr, 0)) {
        return orientationOfExif(std::atoi(entry->value));
    }
    const AVFrameSideData* data = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
    return data != nullptr ? tavrin::orientationOf(data->data, data->size) : Orientation();
}

} // namespace

PixelBuffer readStillImage(const std::filesystem::path& path, const StillImageLimits& limits) {
    ffmpeg::quietLogging();
    const std::string bytes = readFile(path, limits.fileSize);
    MemoryInput input(bytes);
    if (const int opened = input.open(); opened < 0) {
        throw unreadable(path, ffmpeg::reason(opened));
    }
    const int stream = av_find_best_stream(input.format(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (stream < 0) {
        throw unreadable(path, ffmpeg::reason(stream));
    }
    const CodecContext decoder = openDecoder(*input.format()->streams[stream], path, limits);
    const Frame frame = decodeFirst(input.format(), stream, decoder.get(), path);
    const PixelBuffer picture = converted(*frame, path, limits);
    premultiply(picture);
    return oriented(picture, orientationOf(*frame));
}

} // namespace tavrin
