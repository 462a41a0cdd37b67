#include "TavrinKit/Project/CropRegion.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

/// One axis: the size in its range, then an origin that leaves room for it.
void normalizeAxis(double& origin, double& size) {
    origin = atLeast(finiteOr(origin, 0), 0);
    size = clampedTo(finiteOr(size, 1), 0.05, 1);
    origin = std::min({origin, 1.0, 1 - size});
    size = std::min(size, 1 - origin);
}

} // namespace

bool CropRegion::isFullFrame() const {
    constexpr double tolerance = 0.0001;
    return std::abs(x) < tolerance && std::abs(y) < tolerance && std::abs(width - 1) < tolerance &&
           std::abs(height - 1) < tolerance;
}

CropRegion CropRegion::normalized() const {
    CropRegion result = *this;
    normalizeAxis(result.x, result.width);
    normalizeAxis(result.y, result.height);
    return result;
}

} // namespace tavrin
