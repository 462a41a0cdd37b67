#pragma once

#include <vector>

#include "TavrinKit/Project/ZoomTrack.h"

namespace tavrin {

/// Brings proposed zooms into a track without disturbing what is there. Pure; any thread.
struct AutoZoomMerge {
    /// Whether the two zoom onto about the same place at about the same time. A focus in fractions and one
    /// in pixels can't be compared. Whether a segment is enabled plays no part.
    [[nodiscard]] static bool isDuplicate(const ZoomSegment& proposed, const ZoomSegment& existing);

    /// Adds the proposals, in their order, that duplicate nothing in the track, earlier proposals included,
    /// and sorts the track by start. When there is none, the track stays as it is, its order included.
    static void merge(ZoomTrack& track, const std::vector<ZoomSegment>& proposals);
};

} // namespace tavrin
