#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "TavrinKit/Platform/X11/FramePacer.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin::test {
namespace {

X11DisplayLayout::Monitor monitor(const char* name, X11Rect area, bool isMain = false) {
    return {0, name, area, isMain};
}

TEST(X11DisplayLayoutTests, theMainDisplayIsTheOriginOfEveryPlace) {
    struct Case {
        const char* description;
        std::vector<X11DisplayLayout::Monitor> monitors;
        Vec2 globalOfRoot; ///< of the root window's (10, 20)
        Rect firstFrame;
    };
    const Case cases[] = {
        {"primary on the right, lower one on the left",
         {monitor("L", {0, 150, 500, 400}), monitor("R", {500, 0, 600, 600}, true)},
         {-490, 580},
         {-500, 150, 500, 400}},
        {"the lower one is the primary",
         {monitor("L", {0, 150, 500, 400}, true), monitor("R", {500, 0, 600, 600})},
         {10, 530},
         {0, 0, 500, 400}},
        {"no primary: the one at the origin",
         {monitor("R", {500, 0, 600, 600}), monitor("L", {0, 0, 500, 400})},
         {10, 380},
         {500, 0, 600, 600}},
        {"no primary, none at the origin: the first",
         {monitor("R", {500, 7, 600, 600}), monitor("L", {0, 7, 500, 400})},
         {-490, 587},
         {0, 0, 600, 600}},
    };
    for (const Case& each : cases) {
        const X11DisplayLayout layout(each.monitors);
        EXPECT_EQ(layout.globalPoint(10, 20), each.globalOfRoot) << each.description;
        EXPECT_EQ(layout.displayFrame(each.monitors.front().area), each.firstFrame) << each.description;
    }
}

TEST(FramePacerTests, anUnevenSourceAtTheVeryRateLosesNothing) {
    const double interval = 1.0 / 60;
    std::mt19937 random(11);
    std::uniform_real_distribution<double> jitter(-0.0035, 0.0035);
    FramePacer pacer(interval);
    double change = 1e9;
    for (int i = 1; i <= 3600; ++i) {
        const double next = 1e9 + i * interval + jitter(random);
        const double taken = std::max(change, pacer.earliestNext());
        EXPECT_LT(taken, next) << "the next change would cover it";
        pacer.didTake(taken);
        change = next;
    }
}

} // namespace
} // namespace tavrin::test
