#pragma once

#include "TavrinKit/Project/ExportAspectPreset.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

struct ZoomSegment;
struct ZoomTrack;

/// Adapts zooms that were made for one aspect ratio to an export at another. Pure; any thread.
struct ReframingEngine {
    /// Zooms less deep where the export is narrower than the source, and keeps a normalised focus, which
    /// here may overshoot the frame by 0.02, off the edges. Nothing changes without a source size.
    [[nodiscard]] static ZoomSegment reframed(const ZoomSegment& segment, Size2D sourceSize,
                                              AspectPreset preset);

    /// Every segment reframed, in the order of their starts.
    [[nodiscard]] static ZoomTrack reframedTrack(const ZoomTrack& track, Size2D sourceSize,
                                                 AspectPreset preset);
};

} // namespace tavrin
