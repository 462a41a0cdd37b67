#include "TavrinKit/Compositing/OverlayMapping.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

double fraction(double position, double origin, double length) {
    return clampedTo((position - origin) / length, 0, 1);
}

} // namespace

double framingPadding(const FramingStyle& style, const Rect& frame) {
    const double most = std::min(frame.width, frame.height) / 3;
    return style.padding > 0 ? std::min(style.padding, most) : 0;
}

Rect visibleContentRect(const Rect& frame, const FramingStyle& style) {
    const double padding = framingPadding(style, frame);
    const Rect inner = frame.inset(padding, padding);
    if (!(padding > 0) || inner.isEmpty()) {
        return frame;
    }
    const double scale =
        std::min(inner.width / std::max(frame.width, 1.0), inner.height / std::max(frame.height, 1.0));
    const double width = frame.width * scale;
    const double height = frame.height * scale;
    return {inner.midX() - width / 2, inner.midY() - height / 2, width, height};
}

OverlayMapping::OverlayMapping(const Rect& source, const CameraTransform& camera, const CropRegion& crop,
                               const Rect& frame, const FramingStyle& framing)
    : source_(source), focus_(resolvedCameraFocus(camera.center, source)),
      scale_(std::isfinite(camera.scale) ? camera.scale : 1), crop_{source.minX() + source.width * crop.x,
                                                                    source.minY() + source.height * crop.y,
                                                                    std::max(source.width * crop.width, 1.0),
                                                                    std::max(source.height * crop.height,
                                                                             1.0)},
      content_(visibleContentRect(frame, framing)) {}

Vec2 OverlayMapping::map(Vec2 point) const {
    const Vec2 p = point.isNormalized() ? Vec2{source_.minX() + source_.width * point.x,
                                               source_.minY() + source_.height * point.y}
                                        : point;
    const Vec2 zoomed = focus_ + (p - focus_) * scale_;
    return {content_.minX() + content_.width * fraction(zoomed.x, crop_.x, crop_.width),
            content_.minY() + content_.height * fraction(zoomed.y, crop_.y, crop_.height)};
}

} // namespace tavrin
