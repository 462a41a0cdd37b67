#include <array>
#include <tuple>

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
    const struct {
        std::vector<double> clicks;
        std::vector<std::array<double, 3>> zooms; ///< start, end, the focus's x
    } cases[] = {
        {{}, {}},
        {{0.125}, {{0, 1.125, 0.0125}}},
        {{1, 2, 3}, {{0.75, 4, 0.2}}},
        {{1, 2.01}, {{0.75, 2, 0.1}, {1.76, 3.01, 0.201}}},
        {{1, 1.5, 4, 4}, {{0.75, 2.5, 0.125}, {3.75, 5, 0.4}}},
    };
    for (const auto& c : cases) {
        const auto zooms = AutoZoomGenerator().generate(clicksAt(c.clicks), AutoZoomConfig::standard());
        ASSERT_EQ(zooms.size(), c.zooms.size());
        for (std::size_t i = 0; i < zooms.size(); ++i) {
            EXPECT_NEAR(zooms[i].startTime, c.zooms[i][0], 1e-12);
            EXPECT_NEAR(zooms[i].endTime, c.zooms[i][1], 1e-12);
            EXPECT_NEAR(zooms[i].focus.x, c.zooms[i][2], 1e-12);
            EXPECT_DOUBLE_EQ(zooms[i].focus.y, 0.5);
            EXPECT_EQ(zooms[i].scale, 1.9);
            EXPECT_TRUE(zooms[i].enabled);
            EXPECT_EQ(zooms[i].mode, ZoomMode::automatic);
            EXPECT_EQ(zooms[i].transitionStyle, ZoomTransitionStyle::smooth);
        }
    }
}

ZoomSegment zoom(double start, double end, Vec2 focus) {
    return {.startTime = start, .endTime = end, .focus = focus};
}

TEST(AutoZoomMerge, DuplicatesAreNearInTimeAndPlace) {
    const ZoomSegment proposed = zoom(10, 12, {0.5, 0.5});
    const std::tuple<const char*, ZoomSegment, bool> cases[] = {
        {"same", zoom(10, 12, {0.5, 0.5}), true},
        {"centres half a second apart, no overlap needed", zoom(11.5, 11.5, {0.5, 0.5}), true},
        {"overlaps half of the shorter", zoom(11, 13, {0.5, 0.5}), true},
        {"overlaps less", zoom(11.01, 13.01, {0.5, 0.5}), false},
        {"inside a long one", zoom(0, 30, {0.5, 0.5}), true},
        {"elsewhere in time", zoom(20, 22, {0.5, 0.5}), false},
        {"within the distance", zoom(10, 12, {0.57, 0.59}), true},
        {"beyond the distance", zoom(10, 12, {0.59, 0.59}), false},
        {"other unit", zoom(10, 12, {640, 360}), false},
    };
    for (const auto& [what, existing, duplicate] : cases) {
        EXPECT_EQ(AutoZoomMerge::isDuplicate(proposed, existing), duplicate) << what;
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
