#pragma once

#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/MediaStretch.h"
#include "TavrinKit/Media/VideoFollower.h"

namespace tavrin {

/// The pictures of a file as its stretches show them. Behind the end of a stretch its own last picture stays,
/// even where the file goes on.
class StretchedVideoReader : public AssetVideoReader {
public:
    /// @param stretches  not empty
    StretchedVideoReader(VideoFollower movie, MediaStretches stretches);

    [[nodiscard]] std::optional<DecodedFrame> frame(double time) override;

private:
    VideoFollower movie_;
    const MediaStretches stretches_;
};

} // namespace tavrin
