#include "TavrinKit/Compositing/MediaStretch.h"

#include <algorithm>
#include <iterator>

namespace tavrin {

void appendPieces(MediaStretches& result, const MediaStretches& stretches, const ClipTimeRange& window,
                  double start, double speed) {
    for (const MediaStretch& stretch : stretches) {
        const ClipTimeRange part{std::max(stretch.place.startTime, window.startTime),
                                 std::min(stretch.place.endTime, window.endTime)};
        if (!(part.duration() > mediaTimeTolerance)) {
            continue;
        }
        const bool isWholeEnd = part.endTime == stretch.place.endTime;
        result.push_back({
            {stretch.sourceTime(part.startTime),
             isWholeEnd ? stretch.source.endTime : stretch.sourceTime(part.endTime)},
            {start + (part.startTime - window.startTime) / speed,
             start + (part.endTime - window.startTime) / speed},
            stretch.speed * speed,
        });
    }
}

const MediaStretch& stretchAt(const MediaStretches& stretches, double time) {
    const auto next =
        std::upper_bound(stretches.begin(), stretches.end(), time + mediaTimeTolerance,
                         [](double t, const MediaStretch& stretch) { return t < stretch.place.startTime; });
    return next == stretches.begin() ? stretches.front() : *std::prev(next);
}

} // namespace tavrin
