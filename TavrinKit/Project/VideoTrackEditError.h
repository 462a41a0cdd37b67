#pragma once

#include <cstdint>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class VideoTrackEditErrorKind {
    overlapDetected,
    clipNotFound,
    splitTimeOutOfRange,
    takeGroupNotFound,
    takeNotFound,
};

/// Why an edit of the clips was refused, or what is wrong after it.
class VideoTrackEditError : public ErrorFamily<VideoTrackEditErrorKind> {
public:
    static VideoTrackEditError overlapDetected(std::int64_t lane);
    static VideoTrackEditError clipNotFound();
    static VideoTrackEditError splitTimeOutOfRange();
    static VideoTrackEditError takeGroupNotFound();
    static VideoTrackEditError takeNotFound();

    /// The lane of `overlapDetected`; else 0.
    [[nodiscard]] std::int64_t lane() const { return lane_; }

private:
    VideoTrackEditError(VideoTrackEditErrorKind kind, const std::string& sentence, std::int64_t lane = 0);

    std::int64_t lane_;
};

} // namespace tavrin
