#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Platform/X11/DamageRegion.h"
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
        const char* main;
        Vec2 globalOfRoot; ///< of the root window's (10, 20)
        Rect firstFrame;
        double mainHeight;
    };
    const Case cases[] = {
        {"primary on the right, lower one on the left",
         {monitor("L", {0, 150, 500, 400}), monitor("R", {500, 0, 600, 600}, true)},
         "R",
         {-490, 580},
         {-500, 150, 500, 400},
         600},
        {"the lower one is the primary",
         {monitor("L", {0, 150, 500, 400}, true), monitor("R", {500, 0, 600, 600})},
         "L",
         {10, 530},
         {0, 0, 500, 400},
         400},
        {"no primary: the one at the origin",
         {monitor("R", {500, 0, 600, 600}), monitor("L", {0, 0, 500, 400})},
         "L",
         {10, 380},
         {500, 0, 600, 600},
         400},
        {"no primary, none at the origin: the first",
         {monitor("R", {500, 7, 600, 600}), monitor("L", {0, 7, 500, 400})},
         "R",
         {-490, 587},
         {0, 0, 600, 600},
         600},
    };
    for (const Case& each : cases) {
        const X11DisplayLayout layout(each.monitors);
        const auto isMain = [](const X11DisplayLayout::Monitor& m) {
            return m.isMain;
        };
        ASSERT_EQ(std::count_if(layout.monitors().begin(), layout.monitors().end(), isMain), 1);
        EXPECT_EQ(std::find_if(layout.monitors().begin(), layout.monitors().end(), isMain)->name, each.main);
        EXPECT_EQ(layout.globalPoint(10, 20), each.globalOfRoot) << each.description;
        EXPECT_EQ(layout.displayFrame(each.monitors.front().area), each.firstFrame) << each.description;
        EXPECT_EQ(layout.mainDisplayHeight(), each.mainHeight) << each.description;
    }
}

TEST(DamageRegionTests, fewBoxesHoldAllThatWasAddedAndNeverMoreThanThePicture) {
    std::mt19937 random(3);
    const auto upTo = [&](int most) {
        return int(random() % unsigned(most));
    };
    const X11Rect bounds{0, 0, 640, 360};
    for (int round = 0; round < 200; ++round) {
        DamageRegion region(bounds);
        std::vector<X11Rect> added;
        for (int i = upTo(60); i >= 0; --i) {
            const X11Rect box{upTo(700) - 30, upTo(400) - 20, 1 + upTo(round % 2 == 0 ? 20 : 300),
                              1 + upTo(60)};
            region.add(box);
            added.push_back(box.intersection(bounds));
        }
        EXPECT_LE(region.boxes().size(), DamageRegion::maximumBoxes);
        std::int64_t total = 0;
        for (const X11Rect& box : region.boxes()) {
            EXPECT_TRUE(bounds.contains(box));
            total += box.area();
        }
        EXPECT_LE(total, bounds.area());
        for (const X11Rect& box : added) {
            EXPECT_TRUE(box.isEmpty() || region.covers(box));
        }
    }
}

TEST(DamageRegionTests, distantSpotsStayApart) {
    DamageRegion region({0, 0, 1920, 1080});
    region.add({0, 0, 10, 10});
    region.add({1900, 1000, 10, 10});
    region.add({8, 8, 10, 10});
    EXPECT_THAT(region.boxes(),
                testing::UnorderedElementsAre(X11Rect{0, 0, 18, 18}, X11Rect{1900, 1000, 10, 10}));
    region.add({0, 0, 1920, 900});
    EXPECT_TRUE(region.covers(region.bounds()));
}

TEST(DamageRegionTests, aChangeReachesTheChromaBesideIt) {
    const X11Rect bounds{0, 0, 101, 51};
    const std::pair<X11Rect, X11Rect> cases[] = {
        {{4, 4, 2, 2}, {4, 4, 4, 2}},       // its odd column counts for the next pair too
        {{4, 5, 1, 1}, {4, 4, 2, 2}},       // its even column does not
        {{5, 4, 1, 2}, {4, 4, 4, 2}},       //
        {{100, 50, 1, 1}, {100, 50, 1, 1}}, // half pairs at the edges
        {{97, 49, 3, 2}, {96, 48, 5, 3}},
    };
    for (const auto& [box, expected] : cases) {
        EXPECT_EQ(chromaAligned(box, bounds), expected) << box.x << ", " << box.y;
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
