#pragma once

#include <cstdint>
#include <vector>

#include "TavrinKit/Project/ClipTimeRange.h"

namespace tavrin {

/// A part of a media file on the clock of an asset. The length of `source` divided by `speed` is that of
/// `place`.
struct MediaStretch {
    ClipTimeRange source; ///< seconds of the file
    ClipTimeRange place;  ///< seconds of the asset
    double speed = 1;     ///< above 0

    /// The file's time for a time of the asset within `place`.
    [[nodiscard]] double sourceTime(double time) const {
        return source.startTime + (time - place.startTime) * speed;
    }

    friend bool operator==(const MediaStretch&, const MediaStretch&) = default;
};

/// In the order of their places, without overlap. Where no stretch is, there is silence; a picture stays
/// until the next stretch.
using MediaStretches = std::vector<MediaStretch>;

/// Times nearer than this are the same: movies stamp their pictures in microseconds, rounded to the nearest.
inline constexpr double mediaTimeTolerance = 1e-6; // seconds

/// Adds what of the stretches lies in a window of their clock, played from `start` of the new clock at
/// `speed`. Every number comes from those of the arguments, so nothing drifts however often edits are
/// stacked. What is shorter than the tolerance is left out.
void appendPieces(MediaStretches& result, const MediaStretches& stretches, const ClipTimeRange& window,
                  double start, double speed);

/// The stretch that has its first instant at or before `time`, to the tolerance, and is the last such one;
/// the first of all for an earlier time. Of two stretches at a border that is the later one.
/// @pre `stretches` is not empty
[[nodiscard]] const MediaStretch& stretchAt(const MediaStretches& stretches, double time);

} // namespace tavrin
