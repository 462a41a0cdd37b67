#include "TavrinKit/Media/MediaInfo.h"

#include <algorithm>

#include "TavrinKit/Media/MediaFile.h"
#include "TavrinKit/Media/TrackInfo.h"

namespace tavrin {

MediaInfo probeMedia(const std::filesystem::path& path) {
    MediaFile file(path);
    file.analyse();
    MediaInfo info;
    for (int number = 0; file.track(AVMEDIA_TYPE_VIDEO, number) >= 0; ++number) {
        info.video.push_back(videoTrackInfo(file, file.track(AVMEDIA_TYPE_VIDEO, number)));
        info.duration = std::max(info.duration, info.video.back().duration);
    }
    for (int number = 0; file.track(AVMEDIA_TYPE_AUDIO, number) >= 0; ++number) {
        info.audio.push_back(audioTrackInfo(file, file.track(AVMEDIA_TYPE_AUDIO, number)));
        info.duration = std::max(info.duration, info.audio.back().duration);
    }
    return info;
}

} // namespace tavrin
