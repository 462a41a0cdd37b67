#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Effects/CursorPlaybackSupport.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/ZoomTrack.h"

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

TEST(CursorPlayback, ActivityEndsWithTheLaterOfMouseAndState) {
    const MouseEvent mouse{3, {}, MouseEventKind::moved, {}};
    const auto state = [](double time) {
        return CursorStateEvent{time, {}, true, CursorAppearance("a", {1}, {}, {8, 8})};
    };
    EXPECT_EQ(CursorPlaybackSupport::lastActivityTime({}), std::nullopt);
    EXPECT_EQ(CursorPlaybackSupport::lastActivityTime(EventTimeline({mouse})), 3);
    EXPECT_EQ(CursorPlaybackSupport::lastActivityTime(EventTimeline({mouse}, {}, {state(2)})), 3);
    EXPECT_EQ(CursorPlaybackSupport::lastActivityTime(EventTimeline({mouse}, {}, {state(4)})), 4);
}

TEST(CursorPlayback, HidesDuringZooms) {
    struct Case {
        const char* what;
        double time;
        bool hidden;
        bool styleAsks = true;
        bool embedded = false;
        double scale = 1.5;
        bool enabled = true;
    };
    for (const Case& c : {
             Case{.what = "at the start", .time = 2, .hidden = true},
             Case{.what = "at the end", .time = 4, .hidden = true},
             Case{.what = "after", .time = 4.001, .hidden = false},
             Case{.what = "not asked for", .time = 3, .hidden = false, .styleAsks = false},
             Case{.what = "embedded", .time = 3, .hidden = false, .embedded = true},
             Case{.what = "hardly a zoom", .time = 3, .hidden = false, .scale = 1.0001},
             Case{.what = "disabled", .time = 3, .hidden = false, .enabled = false},
         }) {
        CursorFrameState before;
        before.position = before.highlightPosition = {0.3, 0.4};
        before.highlight = ClickHighlightStyle::halo;
        before.highlightProgress = before.highlightIntensity = 0.5;
        before.glyph = CursorGlyphKind::iBeam;
        before.trailPoints = {{0.1, 0.1}, {0.3, 0.4}};
        before.trailOpacities = {0.2, 1};
        const ZoomTrack track{
            {ZoomSegment{.startTime = 2, .endTime = 4, .scale = c.scale, .enabled = c.enabled}}};
        CursorStyle style;
        style.hideDuringZoomSegments = c.styleAsks;

        CursorFrameState after = before;
        CursorPlaybackSupport::hideDuringZoom(after, c.time, track, style, c.embedded);
        if (!c.hidden) {
            EXPECT_EQ(after, before) << c.what;
            continue;
        }
        CursorFrameState expected = before;
        expected.visible = false;
        expected.opacity = expected.highlightProgress = expected.highlightIntensity = 0;
        expected.highlight = ClickHighlightStyle::none;
        expected.trailPoints = {};
        expected.trailOpacities = {};
        EXPECT_EQ(after, expected) << c.what;
    }
}

} // namespace
} // namespace tavrin
