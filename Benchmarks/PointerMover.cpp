#include "PointerMover.h"

#include <chrono>
#include <cmath>
#include <memory>

#include "Examples/Walkthrough/HumanPath.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin::bench {

namespace {

std::chrono::nanoseconds nanoseconds(double seconds) {
    return std::chrono::nanoseconds(std::llround(seconds * 1e9));
}

void move(XTestDriver& hand, bool clicks, const std::stop_token& stop) {
    demo::HumanPath path(11);
    Vec2 position{960, 540};
    for (int way = 0;; ++way) {
        const Vec2 target{path.between(200, 1700), path.between(150, 930)};
        double before = 0;
        for (const demo::PathStep& step : path.steps(position, target, 40)) {
            sleepFor(nanoseconds(step.time - before), stop);
            before = step.time;
            hand.moveTo(int(step.position.x), int(step.position.y));
        }
        position = target;
        if (clicks && way % 2 == 0) {
            hand.click();
        }
        sleepFor(nanoseconds(path.between(0.1, 0.4)), stop);
    }
}

} // namespace

PointerMover::PointerMover(const std::string& display, bool clicks) {
    auto hand = std::make_shared<XTestDriver>(display);
    thread_ = std::jthread([hand, clicks](const std::stop_token& stop) {
        try {
            move(*hand, clicks, stop);
        } catch (const Error&) {
            // Cancelled, or the server has gone: either way there is nothing left to move.
        }
    });
}

} // namespace tavrin::bench
