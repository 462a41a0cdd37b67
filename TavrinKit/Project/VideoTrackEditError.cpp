#include "TavrinKit/Project/VideoTrackEditError.h"

#include <fmt/format.h>

namespace tavrin {

VideoTrackEditError::VideoTrackEditError(VideoTrackEditErrorKind kind, const std::string& sentence,
                                         std::int64_t lane)
    : ErrorFamily(kind, sentence), lane_(lane) {}

VideoTrackEditError VideoTrackEditError::overlapDetected(std::int64_t lane) {
    return {VideoTrackEditErrorKind::overlapDetected, fmt::format("Clip overlap detected in lane {}.", lane),
            lane};
}

VideoTrackEditError VideoTrackEditError::clipNotFound() {
    return {VideoTrackEditErrorKind::clipNotFound, "Clip not found."};
}

VideoTrackEditError VideoTrackEditError::splitTimeOutOfRange() {
    return {VideoTrackEditErrorKind::splitTimeOutOfRange, "Split time is outside clip bounds."};
}

VideoTrackEditError VideoTrackEditError::takeGroupNotFound() {
    return {VideoTrackEditErrorKind::takeGroupNotFound, "Take group not found."};
}

VideoTrackEditError VideoTrackEditError::takeNotFound() {
    return {VideoTrackEditErrorKind::takeNotFound, "Take not found."};
}

} // namespace tavrin
