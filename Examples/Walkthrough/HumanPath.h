#pragma once

#include <random>
#include <vector>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin::demo {

struct PathStep {
    double time = 0; ///< seconds from the start of the movement
    Vec2 position;
};

/// How a hand takes a mouse from one place to another.
///
/// Speed follows the minimum-jerk profile (Flash and Hogan, 1985), the duration Fitts' law; the way bends a
/// little to one side and trembles by less than a pixel. The steps come at 70 to 120 a second.
class HumanPath {
public:
    explicit HumanPath(unsigned seed) : random_(seed) {}

    /// @param targetSize  pixels across what is aimed at
    /// @param pace        multiplies the duration: a drag is slower than an aim
    [[nodiscard]] std::vector<PathStep> steps(Vec2 from, Vec2 to, double targetSize, double pace = 1);

    /// @return seconds until the next key of a practised typist
    [[nodiscard]] double keyInterval();

    /// A number between the two.
    [[nodiscard]] double between(double low, double high);

private:
    std::mt19937 random_;
};

} // namespace tavrin::demo
