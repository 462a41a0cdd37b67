#pragma once

#include "TavrinKit/Effects/CameraTransform.h"

namespace tavrin {

struct ZoomTrack;

/// The zoom camera at any instant of a take.
///
/// A pure function of the track and the time, so that frames can be evaluated in any order and on any
/// thread. Overlapping segments don't add up: the strongest sets the scale, and the centre moves between
/// their focuses by weight. Within a transition of a single segment the scale changes and the place doesn't.
class CameraAnimator {
public:
    struct Settings {
        double transitionFraction = 0.22;        ///< share of a segment spent on each way, 0.05...0.45
        double minimumTransitionDuration = 0.12; ///< seconds, at least 0.01
    };

    CameraAnimator() = default;
    /// Values out of range are moved into it.
    explicit CameraAnimator(const Settings& settings);

    /// @param time  seconds on the source time line; any value, a NaN lies outside all segments
    /// @return the identity outside all enabled segments, and at both ends of each
    [[nodiscard]] CameraTransform transform(double time, const ZoomTrack& track) const;

private:
    Settings settings_;
};

} // namespace tavrin
