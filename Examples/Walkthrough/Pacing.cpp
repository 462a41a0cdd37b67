#include "Examples/Walkthrough/Pacing.h"

#include <chrono>
#include <cmath>

#include "TavrinKit/Support/Cancellation.h"

namespace tavrin::demo {

void pauseFor(double seconds, const std::stop_token& stop) {
    sleepFor(std::chrono::nanoseconds(std::llround(seconds * 1e9)), stop);
}

void moveAlong(const std::vector<PathStep>& path, XTestDriver& hand, Vec2 origin,
               const std::stop_token& stop) {
    const auto begin = std::chrono::steady_clock::now();
    for (const PathStep& step : path) {
        const std::chrono::duration<double> past = std::chrono::steady_clock::now() - begin;
        if (step.time > past.count()) {
            pauseFor(step.time - past.count(), stop);
        }
        const Vec2 place = origin + step.position;
        hand.moveTo(int(std::lround(place.x)), int(std::lround(place.y)));
    }
}

} // namespace tavrin::demo
