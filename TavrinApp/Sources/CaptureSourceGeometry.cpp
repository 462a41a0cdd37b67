#include "TavrinApp/Sources/CaptureSourceGeometry.h"

#include <cmath>

namespace tavrin {

std::optional<Rect> CaptureSourceGeometry::logicalWindowBounds(const Rect& frame,
                                                               std::optional<double> mainDisplayHeight) {
    const bool isPositive = frame.width > 0 && frame.height > 0; // not so for NaN either
    if (frame.isNull() || frame.isInfinite() || !isPositive) {
        return std::nullopt;
    }
    if (!mainDisplayHeight || !std::isfinite(*mainDisplayHeight) || *mainDisplayHeight <= 0) {
        return frame;
    }
    return Rect{frame.x, *mainDisplayHeight - frame.minY() - frame.height, frame.width, frame.height};
}

} // namespace tavrin
