#include "TavrinKit/Media/TrackInfo.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Media/MediaError.h"

namespace tavrin {
namespace {

double measuredEnd(MediaFile& file, int track) {
    const ffmpeg::Packet packet = ffmpeg::makePacket();
    double end = 0;
    while (file.read(*packet)) {
        if (packet->stream_index == track && packet->pts != AV_NOPTS_VALUE) {
            end =
                std::max(end, file.seconds(track, packet->pts + std::max<std::int64_t>(0, packet->duration)));
        }
        av_packet_unref(packet.get());
    }
    file.rewind();
    return end;
}

double endOf(MediaFile& file, int track) {
    const double said = file.end(track);
    return said > 0 && std::isfinite(said) ? said : measuredEnd(file, track);
}

double rateOf(const AVStream& stream) {
    // Beyond that it comes from durations that mean nothing, those of lone pictures in fragments say.
    constexpr double mostCredible = 1000;
    for (const AVRational rate : {stream.avg_frame_rate, stream.r_frame_rate}) {
        if (rate.num > 0 && rate.den > 0 && av_q2d(rate) <= mostCredible) {
            return av_q2d(rate);
        }
    }
    return 0;
}

PixelSize shownSize(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    PixelSize size = {parameters.width, parameters.height};
    const AVRational aspect =
        stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : parameters.sample_aspect_ratio;
    if (aspect.num > 0 && aspect.den > 0) {
        const double width = std::clamp(size.width * av_q2d(aspect), 1.0, double(ffmpeg::mostPixelsPerSide));
        size.width = int(std::lround(width));
    }
    if (orientationOf(stream).transposed) {
        std::swap(size.width, size.height);
    }
    return size;
}

} // namespace

Orientation orientationOf(const AVStream& stream) {
    std::size_t size = 0;
    const std::uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    return orientationOf(matrix, size);
}

VideoTrackInfo videoTrackInfo(MediaFile& file, int track) {
    const AVStream& stream = file.stream(track);
    const AVCodecParameters& parameters = *stream.codecpar;
    VideoTrackInfo info;
    info.naturalSize = {parameters.width, parameters.height};
    if (!ffmpeg::isReasonable(info.naturalSize)) {
        throw MediaError::unreadable(file.path(), fmt::format("its pictures claim to have {} x {} pixels",
                                                              parameters.width, parameters.height));
    }
    info.displaySize = shownSize(stream);
    info.nominalFrameRate = rateOf(stream);
    info.duration = endOf(file, track);
    info.frameCount = std::max<std::int64_t>(0, stream.nb_frames);
    return info;
}

AudioTrackInfo audioTrackInfo(MediaFile& file, int track) {
    return {endOf(file, track)};
}

} // namespace tavrin
