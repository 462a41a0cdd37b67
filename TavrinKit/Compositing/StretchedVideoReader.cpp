#include "TavrinKit/Compositing/StretchedVideoReader.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavrin {
namespace {

/// The file's time whose picture a stretch shows at a time of the asset.
double shownTime(const MediaStretch& stretch, double time) {
    const double within = std::clamp(time, stretch.place.startTime, stretch.place.endTime);
    const double last = std::max(stretch.source.startTime, stretch.source.endTime - 2 * mediaTimeTolerance);
    return std::min(stretch.sourceTime(within) + mediaTimeTolerance, last);
}

} // namespace

StretchedVideoReader::StretchedVideoReader(VideoFollower movie, MediaStretches stretches)
    : movie_(std::move(movie)), stretches_(std::move(stretches)) {}

std::optional<DecodedFrame> StretchedVideoReader::frame(double time) {
    const double asked = std::isfinite(time) ? time : 0;
    const MediaStretch& stretch = stretchAt(stretches_, asked);
    std::optional<DecodedFrame> frame = movie_.frame(shownTime(stretch, asked));
    if (frame) {
        const double shownSince = std::max(frame->time, stretch.source.startTime);
        frame->time = stretch.place.startTime + (shownSince - stretch.source.startTime) / stretch.speed;
    }
    return frame;
}

} // namespace tavrin
