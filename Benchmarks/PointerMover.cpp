#include "PointerMover.h"

#include <memory>

#include "Examples/Walkthrough/Pacing.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::bench {

namespace {

void move(XTestDriver& hand, bool clicks, const std::stop_token& stop) {
    demo::HumanPath path(11);
    Vec2 position{960, 540};
    for (int way = 0;; ++way) {
        const Vec2 target{path.between(200, 1700), path.between(150, 930)};
        demo::moveAlong(path.steps(position, target, 40), hand, {}, stop);
        position = target;
        if (clicks && way % 2 == 0) {
            hand.click();
        }
        demo::pauseFor(path.between(0.1, 0.4), stop);
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
