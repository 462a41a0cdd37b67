#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// What a movie says of a video track.
struct VideoTrackInfo {
    PixelSize naturalSize;
    PixelSize displaySize;       ///< with the track's rotation and sample aspect applied
    double nominalFrameRate = 0; ///< at most 1000; 0 when unknown
    double duration = 0;         ///< seconds: where the track ends on the movie's clock
    std::int64_t frameCount = 0; ///< 0 when the container doesn't say
};

/// What it says of a sound track.
struct AudioTrackInfo {
    double duration = 0; ///< seconds: where the track ends on the movie's clock
};

/// What can be said of a media file without decoding all of it. Where its head doesn't say how long it is, as
/// after a crash, all packets are read.
struct MediaInfo {
    double duration = 0; ///< seconds; the longest track's
    std::vector<VideoTrackInfo> video;
    std::vector<AudioTrackInfo> audio;
};

/// @throws MediaError (unreadable), FileError
[[nodiscard]] MediaInfo probeMedia(const std::filesystem::path& path);

} // namespace tavrin
