#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Effects/AutoZoomGenerator.h"
#include "TavrinKit/Effects/AutoZoomMerge.h"
#include "TavrinKit/Project/EventTimeline.h"

namespace tavrin {
namespace {

EventTimeline clicksAt(const std::vector<double>& times) {
    std::vector<MouseEvent> events;
    for (const double time : times) {
        events.push_back({time, {time / 10, 0.5}, MouseEventKind::clicked, std::int64_t(events.size() % 3)});
        events.push_back({time + 0.4, {1, 1}, MouseEventKind::dragged, {}});
        events.push_back({time + 0.6, {0, 0}, MouseEventKind::moved, {}});
    }
    return EventTimeline(events);
}

TEST(AutoZoomGenerator, ClustersByTheGapToTheLastClick) {
    struct Expected {
        double start;
        double end;
        double focusX;
    };
    struct Case {
        std::vector<double> clicks;
        std::vector<Expected> zooms;
    };
    for (const Case& c : {
             Case{{}, {}},
             Case{{0.125}, {{0, 1.125, 0.0125}}},
             Case{{1, 2, 3}, {{0.75, 4, 0.2}}},
             Case{{1, 2.01}, {{0.75, 2, 0.1}, {1.76, 3.01, 0.201}}},
             Case{{1, 1.5, 4, 4}, {{0.75, 2.5, 0.125}, {3.75, 5, 0.4}}},
         }) {
        const auto zooms = AutoZoomGenerator().generate(clicksAt(c.clicks), AutoZoomConfig::standard());
        ASSERT_EQ(zooms.size(), c.zooms.size());
        for (std::size_t i = 0; i < zooms.size(); ++i) {
            EXPECT_NEAR(zooms[i].startTime, c.zooms[i].start, 1e-12);
            EXPECT_NEAR(zooms[i].endTime, c.zooms[i].end, 1e-12);
            EXPECT_NEAR(zooms[i].focus.x, c.zooms[i].focusX, 1e-12);
            EXPECT_DOUBLE_EQ(zooms[i].focus.y, 0.5);
            EXPECT_EQ(zooms[i].scale, 1.9);
            EXPECT_TRUE(zooms[i].enabled);
            EXPECT_EQ(zooms[i].mode, ZoomMode::automatic);
            EXPECT_EQ(zooms[i].transitionStyle, ZoomTransitionStyle::smooth);
        }
    }
}

TEST(AutoZoomGenerator, AConfigurationIsMovedIntoItsRange) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(AutoZoomConfig(0, -1, -1, 0.5), AutoZoomConfig(0.05, 0, 0, 1));
    EXPECT_EQ(AutoZoomConfig(nan, nan, nan, nan), AutoZoomConfig(0.05, 0, 0, 1));
}

ZoomSegment zoom(double start, double end, Vec2 focus) {
    return {.startTime = start, .endTime = end, .focus = focus};
}

TEST(AutoZoomMerge, DuplicatesAreNearInTimeAndPlace) {
    struct Case {
        const char* what;
        ZoomSegment existing;
        bool duplicate;
    };
    const ZoomSegment proposed = zoom(10, 12, {0.5, 0.5});
    for (const Case& c : {
             Case{"same", zoom(10, 12, {0.5, 0.5}), true},
             Case{"centres half a second apart, no overlap needed", zoom(11.5, 11.5, {0.5, 0.5}), true},
             Case{"overlaps half of the shorter", zoom(11, 13, {0.5, 0.5}), true},
             Case{"overlaps less", zoom(11.01, 13.01, {0.5, 0.5}), false},
             Case{"inside a long one", zoom(0, 30, {0.5, 0.5}), true},
             Case{"elsewhere in time", zoom(20, 22, {0.5, 0.5}), false},
             Case{"within the distance", zoom(10, 12, {0.57, 0.59}), true},
             Case{"beyond the distance", zoom(10, 12, {0.59, 0.59}), false},
             Case{"other unit", zoom(10, 12, {640, 360}), false},
         }) {
        EXPECT_EQ(AutoZoomMerge::isDuplicate(proposed, c.existing), c.duplicate) << c.what;
    }
    const ZoomSegment pixels = zoom(10, 12, {640, 360});
    EXPECT_TRUE(AutoZoomMerge::isDuplicate(pixels, zoom(10, 12, {640, 440})));
    EXPECT_FALSE(AutoZoomMerge::isDuplicate(pixels, zoom(10, 12, {640, 441})));
}

TEST(AutoZoomMerge, AddsOnlyWhatIsNewAndTouchesNothingElse) {
    ZoomSegment disabled = zoom(10, 12, {0.5, 0.5});
    disabled.enabled = false;
    ZoomSegment manual = zoom(2, 3, {0.1, 0.1});
    manual.mode = ZoomMode::manual;
    const ZoomTrack unsorted{{disabled, manual}};

    ZoomTrack track = unsorted;
    AutoZoomMerge::merge(track, {zoom(10, 12, {0.5, 0.5}), zoom(2.2, 3.2, {0.1, 0.1})});
    EXPECT_EQ(track, unsorted);

    const ZoomSegment fresh = zoom(5, 6, {0.9, 0.9});
    const ZoomSegment twin = zoom(5.1, 6.1, {0.9, 0.9});
    AutoZoomMerge::merge(track, {zoom(10, 12, {0.5, 0.5}), fresh, twin});
    EXPECT_EQ(track, (ZoomTrack{{manual, fresh, disabled}}));
}

} // namespace
} // namespace tavrin
