#pragma once

#include "TavrinKit/Effects/CameraTransform.h"
#include "TavrinKit/Project/CropRegion.h"
#include "TavrinKit/Project/FramingStyle.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// The margin around framed content in a frame of this size: the style's padding, at most a third of the
/// shorter side; 0 when there is no framing.
[[nodiscard]] double framingPadding(const FramingStyle& style, const Rect& frame);

/// Where the recording's picture sits in a framed frame.
[[nodiscard]] Rect visibleContentRect(const Rect& frame, const FramingStyle& style);

/// Where a point of the recording ends up in the finished picture: through the camera, the crop and the
/// framing, as the picture itself goes.
///
/// Every overlay tied to the recording (cursor, trail, clicks, annotations) is placed by it. A point that the
/// crop cuts away lands on the picture's edge.
class OverlayMapping {
public:
    /// @param source  the extent of the recording's picture
    /// @param frame   the extent of the cropped and framed picture
    OverlayMapping(const Rect& source, const CameraTransform& camera, const CropRegion& crop,
                   const Rect& frame, const FramingStyle& framing);

    /// @param point  a fraction of the recording's frame when both coordinates are in 0...1, else its pixels
    /// @return pixels of the finished frame; finite for any point
    [[nodiscard]] Vec2 map(Vec2 point) const;

private:
    Rect source_;
    Vec2 focus_;
    double scale_;
    Rect crop_;    ///< in pixels of the source
    Rect content_; ///< in pixels of the frame
};

} // namespace tavrin
