#pragma once

#include <optional>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// A geometry sample made ready for mapping: everything with its origin at the bottom left.
struct ResolvedGeometrySample {
    double timestamp = 0; ///< host clock
    Rect screenRect;      ///< where the source lay, global points
    Rect contentRect;     ///< where the content lies in the surface, points
    Size2D surfaceSizePoints;
};

/// Turns positions on the screen into positions in the recorded picture.
///
/// A window is followed from geometry sample to geometry sample; a display or an area stays where it was
/// when the take was armed. A position up to 8 per cent outside of the source counts as on its edge, where
/// the pointer often lies while it drags that edge. A value; any thread.
class CaptureInputCoordinateNormalizer {
public:
    CaptureInputCoordinateNormalizer(CaptureOptions options,
                                     const std::vector<CaptureGeometrySample>& geometrySamples);

    /// Sorts out by nearness to the source, as it was known before, which vertical origin each rectangle
    /// uses that doesn't say so, and drops samples that repeat the one before.
    [[nodiscard]] static std::vector<ResolvedGeometrySample>
    resolveGeometrySamples(const std::vector<CaptureGeometrySample>& samples,
                           const std::optional<CaptureCoordinateMappingContext>& mappingContext);

    /// The position (0...1 on both axes) that one sample gives.
    /// @return nothing for a sample that can't be used, or a position beyond its margin
    [[nodiscard]] static std::optional<Vec2> normalizedLocation(Vec2 location,
                                                                const ResolvedGeometrySample& sample);

    /// @param location  global points, y upward
    /// @param time      host clock, as the event was recorded
    /// @return 0...1 on both axes; `location` itself when nothing is known of the source; nothing for an
    ///         event that lies elsewhere
    [[nodiscard]] std::optional<Vec2> normalizedLocation(Vec2 location, double time) const;

private:
    [[nodiscard]] std::optional<Vec2> locationInWindow(Vec2 location, double time) const;

    CaptureOptions options_;
    std::vector<ResolvedGeometrySample> geometrySamples_; ///< ascending in time
};

} // namespace tavrin
