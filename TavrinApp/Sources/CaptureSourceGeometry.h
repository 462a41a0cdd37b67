#pragma once

#include <optional>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// From a server's frames to the space that targets, bounds and events share.
class CaptureSourceGeometry {
public:
    /// @param frame              points, y downward from the top left of the main display
    /// @param mainDisplayHeight  what turns y over; without a positive one the frame stays as it is
    /// @return nothing for a frame that is null, infinite, or without a positive width and height
    [[nodiscard]] static std::optional<Rect> logicalWindowBounds(const Rect& frame,
                                                                 std::optional<double> mainDisplayHeight);
};

} // namespace tavrin
