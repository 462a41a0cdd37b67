#pragma once

#include <vector>

namespace tavrin {

class EventTimeline;
struct ZoomSegment;

/// How clicks become zooms. The constructor moves values out of range into it.
struct AutoZoomConfig {
    double clusterWindowSeconds; ///< the longest gap between two clicks of a cluster, at least 0.05
    double preRollSeconds;       ///< by how much a zoom starts before its first click, at least 0
    double postRollSeconds;      ///< by how long it outlasts its last click, at least 0
    double targetScale;          ///< at least 1

    AutoZoomConfig(double clusterWindowSeconds, double preRollSeconds, double postRollSeconds,
                   double targetScale);

    /// What every take is opened with.
    [[nodiscard]] static AutoZoomConfig standard() { return {1.0, 0.25, 1.0, 1.9}; }

    friend bool operator==(const AutoZoomConfig&, const AutoZoomConfig&) = default;
};

/// Proposes zooms from where the user clicked.
///
/// Clicks whose gaps are short make a cluster, however long it grows, and each cluster makes one zoom onto
/// the mean of its clicks. Zooms of neighbouring clusters may overlap; the camera blends them. Pure but for
/// the new ids of the segments; any thread.
struct AutoZoomGenerator {
    /// @return enabled, automatic and smooth segments, in the order of their clicks
    [[nodiscard]] std::vector<ZoomSegment> generate(const EventTimeline& events,
                                                    const AutoZoomConfig& config) const;
};

} // namespace tavrin
