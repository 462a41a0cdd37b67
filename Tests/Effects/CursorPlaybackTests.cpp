#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Effects/CursorPlaybackSupport.h"
#include "TavrinKit/Project/EventTimeline.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

CursorStyle ending(CursorEndBehavior behavior, double loop = 0.45) {
    CursorStyle style;
    style.endBehavior = behavior;
    style.endLoopDurationSeconds = loop;
    return style;
}

TEST(CursorPlayback, TheCursorsClockAfterTheLastActivity) {
    using enum CursorEndBehavior;
    const CursorStyle loop = ending(loopTail, 0.5);
    const struct {
        const char* what;
        CursorStyle style;
        double frameTime;
        std::optional<double> lastActivity;
        double expected;
    } cases[] = {
        {"natural runs on", ending(natural), 7, 4, 7},
        {"natural stays in the movie", ending(natural), 99, 4, 10},
        {"no activity at all", ending(stop), 7, {}, 7},
        {"stop before the end of activity", ending(stop), 3.9, 4, 3.9},
        {"stop freezes", ending(stop), 7, 4, 4},
        {"loop before the end of activity", loop, 4, 4, 4},
        {"loop starts over", loop, 4.2, 4, 3.7},
        {"loop goes round", loop, 5.2, 4, 3.7},
        {"loop reaches no further back than the start", loop, 0.5, 0.3, 0.2},
        {"loop is never shorter than 0.12", loop, 0.15, 0.05, 0.1},
        {"loop of a style out of range", ending(loopTail, 0), 4.2, 4, 3.96},
        {"negative time", loop, -3, 4, 0},
        {"no number", loop, nan, 4, 0},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(CursorPlaybackSupport::cursorTime(c.frameTime, 10, c.lastActivity, c.style), c.expected,
                    1e-9)
            << c.what;
    }
    EXPECT_FALSE(std::isnan(CursorPlaybackSupport::cursorTime(inf, inf, 4.0, loop)));
}

} // namespace
} // namespace tavrin
