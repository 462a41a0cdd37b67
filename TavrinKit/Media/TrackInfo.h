#pragma once

#include "TavrinKit/Media/MediaFile.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/Orientation.h"

namespace tavrin {

/// The track's rotation, to the nearest quarter turn.
[[nodiscard]] Orientation orientationOf(const AVStream& stream);

/// Of an analysed file. A duration that the head doesn't say is measured by reading all packets, after which
/// the file stands at its start again.
/// @throws MediaError (unreadable) for pictures of unreasonable size
[[nodiscard]] VideoTrackInfo videoTrackInfo(MediaFile& file, int track);
[[nodiscard]] AudioTrackInfo audioTrackInfo(MediaFile& file, int track);

} // namespace tavrin
