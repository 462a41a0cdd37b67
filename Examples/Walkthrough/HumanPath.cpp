#include "Examples/Walkthrough/HumanPath.h"

#include <cmath>
#include <numbers>

namespace tavrin::demo {

namespace {

double minimumJerk(double share) {
    return share * share * share * (10 + share * (-15 + share * 6));
}

} // namespace

double HumanPath::between(double low, double high) {
    return low + (high - low) * double(random_() - std::mt19937::min()) /
                     double(std::mt19937::max() - std::mt19937::min());
}

double HumanPath::keyInterval() {
    return between(0.055, 0.105);
}

std::vector<PathStep> HumanPath::steps(Vec2 from, Vec2 to, double targetSize, double pace) {
    const Vec2 way = to - from;
    const double distance = std::hypot(way.x, way.y);
    const double difficulty = std::log2(distance / std::max(targetSize, 4.0) + 1);
    const double duration = pace * (0.22 + 0.13 * difficulty) * between(0.92, 1.08);
    const Vec2 side = distance > 0 ? Vec2{-way.y / distance, way.x / distance} : Vec2{};
    const double bend = distance * between(0.03, 0.085) * (random_() % 2 == 0 ? 1 : -1);
    const double phase = between(0, 2 * std::numbers::pi);

    std::vector<PathStep> steps;
    for (double time = between(0.008, 0.014); time < duration; time += between(0.0085, 0.0135)) {
        const double share = minimumJerk(time / duration);
        const double tremor =
            0.7 * std::sin(2 * std::numbers::pi * 9 * time + phase) * std::sin(share * std::numbers::pi);
        const double aside = bend * std::sin(share * std::numbers::pi) + tremor;
        steps.push_back({time, from + way * share + side * aside});
    }
    steps.push_back({duration, to});
    return steps;
}

} // namespace tavrin::demo
