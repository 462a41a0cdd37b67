#include "TavrinKit/Capture/CaptureMediaProbing.h"

#include "TavrinKit/Media/MediaInfo.h"

namespace tavrin {

CaptureMediaInfo FFmpegCaptureMediaProbe::mediaInfo(const std::filesystem::path& path) {
    const MediaInfo media = probeMedia(path);
    return {media.duration, !media.video.empty(), !media.audio.empty()};
}

} // namespace tavrin
