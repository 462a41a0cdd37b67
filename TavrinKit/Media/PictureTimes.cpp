#include "TavrinKit/Media/PictureTimes.h"

#include <algorithm>

#include "TavrinKit/Media/MediaFile.h"

namespace tavrin {

std::vector<double> firstPictureTimes(const std::filesystem::path& path, int count) {
    MediaFile file(path);
    file.analyse();
    const int track = file.track(AVMEDIA_TYPE_VIDEO, 0);
    if (track < 0 || count <= 0) {
        return {};
    }
    file.readOnly(track);
    // Packets come in the order of decoding, in which a picture can lie this far from its place.
    constexpr int mostReordered = 16;
    const auto wanted = std::size_t(count);
    std::vector<double> times;
    const ffmpeg::Packet packet = ffmpeg::makePacket();
    while (times.size() < wanted + mostReordered && file.read(*packet)) {
        if (packet->stream_index == track && packet->pts != AV_NOPTS_VALUE) {
            times.push_back(file.seconds(track, packet->pts));
        }
        av_packet_unref(packet.get());
    }
    std::ranges::sort(times);
    times.resize(std::min(times.size(), wanted));
    return times;
}

} // namespace tavrin
