#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Project/PlaybackTrim.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(PlaybackTrim, ARangeIsHeldInTheSource) {
    const struct {
        double start, end, duration, minimum;
        ClipTimeRange expected;
    } cases[] = {
        {2, 8, 10, 1, {2, 8}},
        {5, 4, 10, 1.0 / 60, {5, 5 + 1.0 / 60}},
        {20, 30, 10, 1, {9, 10}},
        {nan, nan, 10, 1, {0, 10}},
        {9.9995, 10, 10, 0, {9.999, 10}},
        {4, 4, 10, nan, {4, 4.001}},
        {0.2, 0.3, 0.5, 2, {0, 0.5}},
        {1, 2, nan, 1, {0, 0}},
    };
    for (const auto& [start, end, duration, minimum, expected] : cases) {
        const ClipTimeRange range = PlaybackTrim::clampedRange(start, end, duration, minimum);
        EXPECT_NEAR(range.startTime, expected.startTime, 1e-12) << start << " to " << end;
        EXPECT_NEAR(range.endTime, expected.endTime, 1e-12) << start << " to " << end;
    }
    TimelineModel timeline;
    EXPECT_EQ(PlaybackTrim::resolvedRange(timeline, 10), (ClipTimeRange{0, 10}));
    timeline.trimRange = ClipTimeRange{4, 2};
    EXPECT_EQ(PlaybackTrim::resolvedRange(timeline, 10), (ClipTimeRange{4, 4 + 1.0 / 60}));

    // less than half a frame is no trim
    EXPECT_FALSE(PlaybackTrim::isActive({0.004, 9.996}, 10));
    EXPECT_TRUE(PlaybackTrim::isActive({0.009, 10}, 10));
    EXPECT_TRUE(PlaybackTrim::isActive({0, 9.99}, 10));
}

TEST(PlaybackTrim, RegionsAreCutMovedAndLeftOut) {
    const std::pair<ClipTimeRange, std::optional<ClipTimeRange>> cases[] = {
        {{-1e308, 1e308}, ClipTimeRange{0, 1}},
        {{3.5, 9}, ClipTimeRange{0.5, 1}},
        {{1, 3}, {}},
        {{4, 9}, {}},
        {{3.5, 3.5}, ClipTimeRange{0.5, 0.5}},
        {{3.75, 3.5}, {}},
    };
    for (const auto& [region, expected] : cases) {
        TimelineModel timeline;
        timeline.speedTrack.regions = {{.startTime = region.startTime, .endTime = region.endTime}};
        const auto kept = PlaybackTrim::trimmedTimeline(timeline, {3, 4}).speedTrack.regions;
        ASSERT_EQ(!kept.empty(), expected.has_value()) << region.startTime;
        if (expected) {
            EXPECT_EQ((ClipTimeRange{kept[0].startTime, kept[0].endTime}), *expected);
        }
    }
}

TEST(PlaybackTrim, RegionsOfAllTracksAreNormalizedAndClipsStay) {
    const ZoomSegment late{.startTime = 3.75, .endTime = 9};
    const ZoomSegment early{.startTime = 1, .endTime = 3.5};
    TimelineModel timeline;
    timeline.trimRange = ClipTimeRange{3, 4};
    timeline.videoTrack.clips = {{.timelineRange = {2, 5}}};
    timeline.zoomTrack.segments = {late, early};
    timeline.annotationTrack.regions = {
        {.startTime = 3.5, .endTime = 9, .position = {7, 0.5}, .style = {.fontSize = 500}}};
    timeline.extraAudioTrack.regions = {{.startTime = 3.5, .endTime = 9, .filePath = " a ", .volume = 9}};
    TimelineModel expected = timeline;
    expected.trimRange.reset();
    expected.zoomTrack.segments = {early, late};
    expected.zoomTrack.segments[0].startTime = 0;
    expected.zoomTrack.segments[0].endTime = 0.5;
    expected.zoomTrack.segments[1].startTime = 0.75;
    expected.zoomTrack.segments[1].endTime = 1;
    AnnotationRegion& annotation = expected.annotationTrack.regions[0];
    annotation.startTime = 0.5;
    annotation.endTime = 1;
    annotation.position.x = 0.95; // but the style stays
    ExtraAudioRegion& audio = expected.extraAudioTrack.regions[0];
    audio = {audio.id, 0.5, 1, "a", 2};
    EXPECT_EQ(PlaybackTrim::trimmedTimeline(timeline, {3, 4}), expected);
}

TEST(PlaybackTrim, ThePointerIsCarriedInUnlessAnEventIsThere) {
    constexpr double soon = 1.0 / 128; // less than half a frame
    constexpr double later = 1.0 / 64;
    using Times = std::vector<double>;
    const struct {
        const char* what;
        Times given;
        Times pointer;
        Times keys;         ///< never carried in
        double carriedFrom; ///< where the first event of the pointer comes from
    } cases[] = {
        {"carried in before others", {1, 2, 3.5}, {0, 0.5}, {0.5}, 2},
        {"carried in alone", {1, 2, 9}, {0}, {}, 2},
        {"one is there already", {1, 3 - soon, 3.5}, {0, 0.5}, {0, 0.5}, 3 - soon},
        {"one comes too late", {1, 3 + later}, {0, later}, {later}, 1},
        {"nothing before", {3.5, 4 + soon, 4 + later}, {0.5, 1 + soon}, {0.5, 1 + soon}, 3.5},
    };
    const auto times = [](const auto& events) {
        Times result;
        std::ranges::for_each(events, [&](const auto& event) { result.push_back(event.timestamp); });
        return result;
    };
    for (const auto& [what, given, pointer, keys, carriedFrom] : cases) {
        SCOPED_TRACE(what);
        EventTimeline events;
        for (const double time : given) {
            events.append(MouseEvent{time, {time, 0}});
            events.append(CursorStateEvent{time, {time, 0}, true, CursorAppearance("a", {1}, {}, {8, 8})});
            events.append(KeyEvent{time, "x"});
        }
        const EventTimeline trimmed = PlaybackTrim::trimmedEvents(events, {3, 4});
        EXPECT_EQ(times(trimmed.mouseEvents()), pointer);
        EXPECT_EQ(times(trimmed.cursorStates()), pointer);
        EXPECT_EQ(times(trimmed.keyEvents()), keys);
        EXPECT_EQ(trimmed.mouseEvents().at(0).location.x, carriedFrom);
        EXPECT_EQ(trimmed.cursorStates().at(0).location.x, carriedFrom);
    }
}

} // namespace
} // namespace tavrin
