#pragma once

#include "TavrinKit/Effects/CameraTransform.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

struct CameraPiPStyle;

/// Where the camera picture goes, and how it makes room for what the zoom is looking at.
///
/// Coordinates grow rightward and upward, so "top" is the greatest y. Pure; any thread.
struct CameraPiPLayoutResolver {
    /// @param bounds  the frame that the picture is laid over
    /// @param camera  moves and shrinks the picture with the layout mode `focusAware`, and only then
    [[nodiscard]] static Rect rect(const Rect& bounds, const CameraPiPStyle& style,
                                   const CameraTransform& camera);

    /// @param rect  what `rect` returned
    /// @return half the shorter side for a circle
    [[nodiscard]] static double cornerRadius(const Rect& rect, const CameraPiPStyle& style);
};

} // namespace tavrin
