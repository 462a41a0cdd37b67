#include "TavrinKit/Effects/FrameTimes.h"

#include <algorithm>
#include <cmath>

namespace tavrin {
namespace {

/// Far more than the rounding of a long sum of times, far less than any clock resolves.
constexpr double relativeRounding = 1e-12;

/// Beyond this a double no longer tells neighbouring frames apart.
constexpr double largestCount = 9007199254740992.0;

} // namespace

FrameTimes::FrameTimes(double duration, double fps) : fps_(fps) {
    if (!(duration > 0) || !(fps > 0) || !std::isfinite(duration) || !std::isfinite(fps)) {
        return;
    }
    const double product = std::min(duration * fps, largestCount);
    const double nearest = std::round(product);
    const bool isWhole = std::abs(product - nearest) <= product * relativeRounding;
    count_ = std::max<std::int64_t>(std::int64_t(isWhole ? nearest : std::ceil(product)), 1);
    while (count_ > 1 && time(count_ - 1) >= duration) {
        --count_;
    }
}

double FrameTimes::time(std::int64_t index) const {
    return double(index) / fps_;
}

} // namespace tavrin
