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
    struct Case {
        const char* what;
        CursorStyle style;
        double frameTime;
        std::optional<double> lastActivity;
        double expected;
    };
    const CursorStyle loop = ending(CursorEndBehavior::loopTail, 0.5);
    for (const Case& c : {
             Case{"natural runs on", ending(CursorEndBehavior::natural), 7, 4, 7},
             Case{"natural stays in the movie", ending(CursorEndBehavior::natural), 99, 4, 10},
             Case{"no activity at all", ending(CursorEndBehavior::stop), 7, {}, 7},
             Case{"stop before the end of activity", ending(CursorEndBehavior::stop), 3.9, 4, 3.9},
             Case{"stop freezes", ending(CursorEndBehavior::stop), 7, 4, 4},
             Case{"loop before the end of activity", loop, 4, 4, 4},
             Case{"loop starts over", loop, 4.2, 4, 3.7},
             Case{"loop goes round", loop, 5.2, 4, 3.7},
             Case{"loop reaches no further back than the start", loop, 0.5, 0.3, 0.2},
             Case{"loop is never shorter than 0.12", loop, 0.15, 0.05, 0.1},
             Case{"loop of a style out of range", ending(CursorEndBehavior::loopTail, 0), 4.2, 4, 3.96},
             Case{"negative time", loop, -3, 4, 0},
             Case{"no number", loop, nan, 4, 0},
         }) {
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
