#include <cmath>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Project/PlaybackTrim.h"

namespace tavrin {
namespace {

using testing::ElementsAre;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(PlaybackTrim, ARangeIsHeldInTheSource) {
    const struct {
        double start, end, duration, minimum;
        ClipTimeRange expected;
    } cases[] = {
        {2, 8, 10, 1, {2, 8}},
        {5, 4, 10, 1.0 / 60, {5, 5 + 1.0 / 60}},
        {20, 30, 10, 1, {9, 10}},
        {-3, 30, 10, 1, {0, 10}},
        {nan, nan, 10, 1, {0, 10}},
        {inf, -inf, 10, 1, {0, 10}},
        {9.9995, 10, 10, 0, {9.999, 10}},
        {4, 4, 10, nan, {4, 4.001}},
        {0.2, 0.3, 0.5, 2, {0, 0.5}},
        {1, 2, 0, 1, {0, 0}},
        {1, 2, nan, 1, {0, 0}},
        {1, 2, -5, 1, {0, 0}},
    };
    for (const auto& [start, end, duration, minimum, expected] : cases) {
        const ClipTimeRange range = PlaybackTrim::clampedRange(start, end, duration, minimum);
        EXPECT_NEAR(range.startTime, expected.startTime, 1e-12) << start << " to " << end;
        EXPECT_NEAR(range.endTime, expected.endTime, 1e-12) << start << " to " << end;
    }
    TimelineModel timeline;
    EXPECT_EQ(PlaybackTrim::resolvedRange(timeline, 10), (ClipTimeRange{0, 10}));
    EXPECT_EQ(PlaybackTrim::resolvedRange(timeline, nan), (ClipTimeRange{0, 0}));
    timeline.trimRange = ClipTimeRange{4, 2};
    EXPECT_EQ(PlaybackTrim::resolvedRange(timeline, 10), (ClipTimeRange{4, 4 + 1.0 / 60}));

    // less than half a frame is no trim
    EXPECT_FALSE(PlaybackTrim::isActive({0.004, 9.996}, 10));
    EXPECT_TRUE(PlaybackTrim::isActive({0.009, 10}, 10));
    EXPECT_TRUE(PlaybackTrim::isActive({0, 9.99}, 10));
    EXPECT_FALSE(PlaybackTrim::isActive({0, 0}, nan));
}

TEST(PlaybackTrim, RegionsAreCutMovedAndLeftOut) {
    const struct {
        ClipTimeRange region;
        std::optional<ClipTimeRange> expected;
    } cases[] = {
        {{2, 5}, ClipTimeRange{0, 1}},
        {{3.25, 3.5}, ClipTimeRange{0.25, 0.5}},
        {{3.5, 9}, ClipTimeRange{0.5, 1}},
        {{1, 3}, {}},
        {{4, 9}, {}},
        {{3.5, 3.5}, ClipTimeRange{0.5, 0.5}},
        {{3.75, 3.5}, {}},
        {{-1e308, 1e308}, ClipTimeRange{0, 1}},
    };
    for (const auto& [region, expected] : cases) {
        TimelineModel timeline;
        timeline.trimRange = ClipTimeRange{3, 4};
        timeline.videoTrack.clips = {{.timelineRange = region}};
        timeline.zoomTrack.segments = {
            {.startTime = region.startTime, .endTime = region.endTime, .scale = 2}};
        timeline.speedTrack.regions = {{.startTime = region.startTime, .endTime = region.endTime}};
        timeline.annotationTrack.regions = {{.startTime = region.startTime,
                                             .endTime = region.endTime,
                                             .position = {7, 0.5},
                                             .style = {.fontSize = 500},
                                             .zIndex = -1}};
        timeline.extraAudioTrack.regions = {
            {.startTime = region.startTime, .endTime = region.endTime, .filePath = " a ", .volume = 9}};
        const TimelineModel trimmed = PlaybackTrim::trimmedTimeline(timeline, {3, 4});

        TimelineModel cut = timeline;
        cut.trimRange.reset();
        const auto expectCut = [&expected = expected](auto& regions) {
            if (!expected) {
                regions.clear();
                return;
            }
            regions[0].startTime = expected->startTime;
            regions[0].endTime = expected->endTime;
        };
        expectCut(cut.zoomTrack.segments);
        expectCut(cut.speedTrack.regions);
        expectCut(cut.annotationTrack.regions);
        expectCut(cut.extraAudioTrack.regions);
        if (expected) { // normalised, but for the style
            cut.annotationTrack.regions[0].position.x = 0.95;
            cut.annotationTrack.regions[0].zIndex = 0;
            cut.extraAudioTrack.regions[0].filePath = "a";
            cut.extraAudioTrack.regions[0].volume = 2;
        }
        EXPECT_EQ(trimmed, cut) << region.startTime;
    }
    TimelineModel unsorted;
    unsorted.zoomTrack.segments = {{.startTime = 8, .endTime = 9}, {.startTime = 1, .endTime = 2}};
    EXPECT_EQ(PlaybackTrim::trimmedTimeline(unsorted, {0, 10}).zoomTrack.segments[0].startTime, 1);
}

TEST(PlaybackTrim, ThePointerIsCarriedInUnlessAnEventIsThere) {
    const struct {
        const char* what;
        std::vector<double> times;
        std::vector<double> expected;
        double carriedFrom; ///< where the first event comes from
    } cases[] = {
        {"nothing at all", {}, {}, 0},
        {"carried in before others", {1, 2, 3.5}, {0, 0.5}, 2},
        {"carried in alone", {1, 2, 9}, {0}, 2},
        {"one is there already", {1, 2.995, 3.5}, {0, 0.5}, 2.995},
        {"one comes soon enough", {1, 3.008}, {0.008}, 3.008},
        {"one comes too late", {1, 3.009}, {0, 0.009}, 1},
        {"nothing before", {3.5, 4.005, 4.01}, {0.5, 1.005}, 3.5},
    };
    for (const auto& [what, times, expected, carriedFrom] : cases) {
        SCOPED_TRACE(what);
        std::vector<MouseEvent> mouse;
        std::vector<CursorStateEvent> states;
        std::vector<KeyEvent> keys;
        for (const double time : times) {
            mouse.push_back({time, {time, 0}});
            states.push_back({time, {time, 0}, true, CursorAppearance("a", {1}, {}, {8, 8})});
            keys.push_back({time, "\nx"});
        }
        const EventTimeline trimmed = PlaybackTrim::trimmedEvents(EventTimeline(mouse, keys, states), {3, 4});
        ASSERT_EQ(trimmed.mouseEvents().size(), expected.size());
        ASSERT_EQ(trimmed.cursorStates().size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_NEAR(trimmed.mouseEvents()[i].timestamp, expected[i], 1e-12);
            EXPECT_NEAR(trimmed.cursorStates()[i].timestamp, expected[i], 1e-12);
        }
        if (!expected.empty()) {
            EXPECT_EQ(trimmed.mouseEvents()[0].location.x, carriedFrom);
            EXPECT_EQ(trimmed.cursorStates()[0].location.x, carriedFrom);
        }
        for (const KeyEvent& key : trimmed.keyEvents()) { // never carried in
            EXPECT_EQ(key.displayText, "x");
        }
        EXPECT_EQ(trimmed.keyEvents().size(),
                  expected.size() - (!expected.empty() && carriedFrom < 2.99 ? 1 : 0));
    }
}

} // namespace
} // namespace tavrin
