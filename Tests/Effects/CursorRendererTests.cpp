#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Effects/CursorRenderer.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {
namespace {

MouseEvent moved(double time, double x) {
    return {time, {x, 0.5}, MouseEventKind::moved, {}};
}

MouseEvent clicked(double time, double x, std::optional<std::int64_t> button = 0) {
    return {time, {x, 0.5}, MouseEventKind::clicked, button};
}

CursorStateEvent seen(double time, double x, bool visible = true) {
    return {time, {x, 0.5}, visible, CursorAppearance("arrow", {1, 2, 3}, {1, 2}, {16, 24})};
}

/// Everything that could blur a comparison switched off.
CursorStyle plainStyle() {
    CursorStyle style;
    style.smoothing = CursorSmoothingPreset::off;
    style.trailStyle = CursorTrailStyle::none;
    style.hideWhenIdle = false;
    return style;
}

CursorFrameState stateOf(double time, const CursorStyle& style, std::vector<MouseEvent> mouse,
                         std::vector<CursorStateEvent> states = {}) {
    return CursorRenderer::frameState(time, EventTimeline(std::move(mouse), {}, std::move(states)), style);
}

TEST(CursorRenderer, SmoothingWeighsTheEventsOfItsWindow) {
    CursorStyle style = plainStyle();
    style.smoothing = CursorSmoothingPreset::medium;
    const double oldest = 10 - ((1 - 0.35) * 1.3 + 0.2);
    const std::vector<MouseEvent> events{moved(oldest - 1e-9, 1), moved(oldest, 0), moved(9.5, 1),
                                         moved(10, 1), moved(10.01, 0)};
    EXPECT_NEAR(stateOf(10, style, events).position.x, 0.35 * 0.65 + 0.35, 1e-12);
    EXPECT_EQ(stateOf(20, style, events).position.x, 0) << "where it was last";
}

TEST(CursorRenderer, SteadiesOnlyAPointerThatTrembles) {
    CursorStyle style = plainStyle();
    style.shakeReduction = 0.5; // within 0.0075 of the middle
    const struct {
        const char* what;
        double firstTime, firstX, expectedX;
    } cases[] = {{"trembling", 9.85, 0.5, 0.505 + (0.503 - 0.505) * 0.675},
                 {"moving", 9.85, 0.48, 0.505},
                 {"two events", 9.83, 0.5, 0.505}};
    for (const auto& c : cases) {
        const auto state =
            stateOf(10, style, {moved(c.firstTime, c.firstX), moved(9.9, 0.504), moved(10, 0.505)});
        EXPECT_NEAR(state.position.x, c.expectedX, 1e-12) << c.what;
    }
}

TEST(CursorRenderer, FadesWhenNeitherMouseNorStateTells) {
    CursorStyle style = plainStyle();
    style.hideWhenIdle = true;
    style.idleHideAfterSeconds = 0.5;
    style.idleFadeDurationSeconds = 0.25;
    for (const auto& [time, opacity] : {std::pair{1.75, 1.0}, {1.875, 0.5}, {2.0, 0.0}, {9.0, 0.0}}) {
        const CursorFrameState state = stateOf(time, style, {moved(1, 0.5)}, {seen(1.25, 0.5)});
        EXPECT_DOUBLE_EQ(state.opacity, opacity) << time;
        EXPECT_EQ(state.visible, opacity > 0) << time;
    }
    EXPECT_FALSE(stateOf(1.3, style, {moved(1, 0.5)}, {seen(1.25, 0.5, false)}).visible);
    EXPECT_FALSE(stateOf(0.5, style, {moved(1, 0.5)}).visible) << "before the first event";
}

TEST(CursorRenderer, TheLastActionGivesTheGlyph) {
    using enum CursorGlyphKind;
    const MouseEvent drag{1.1, {0.5, 0.5}, MouseEventKind::dragged, {}};
    const struct {
        const char* what;
        std::vector<MouseEvent> events;
        double time, stabilization;
        CursorGlyphKind expected;
    } cases[] = {{"left", {clicked(1, 0.5)}, 1.34, 0, pointingHand},
                 {"no button", {clicked(1, 0.5, {})}, 1.34, 0, pointingHand},
                 {"right", {clicked(1, 0.5, 1)}, 1.34, 0, crosshair},
                 {"middle", {clicked(1, 0.5, 2)}, 1.34, 0, iBeam},
                 {"drag after a click", {clicked(1, 0.5), drag}, 1.34, 0, crosshair},
                 {"move after a click", {clicked(1, 0.5), moved(1.1, 0.5)}, 1.34, 0, pointingHand},
                 {"over", {clicked(1, 0.5)}, 1.36, 0, arrow},
                 {"held", {clicked(1, 0.5)}, 1.79, 0.8, pointingHand},
                 {"held long enough", {clicked(1, 0.5)}, 1.81, 0.8, arrow}};
    for (const auto& c : cases) {
        CursorStyle style = plainStyle();
        style.glyphStabilizationSeconds = c.stabilization;
        EXPECT_EQ(stateOf(c.time, style, c.events).glyph, c.expected) << c.what;
    }
}

TEST(CursorRenderer, TheNewestClickIsHighlightedWhereItWas) {
    CursorStyle style = plainStyle();
    style.clickHighlightStyle = ClickHighlightStyle::halo;
    style.clickHighlightDurationSeconds = 0.5;
    const std::vector<MouseEvent> events{clicked(0.9, 0.1), clicked(1, 0.2), moved(1.05, 0.9)};
    const CursorFrameState fresh = stateOf(1.125, style, events);
    EXPECT_EQ(fresh.highlight, ClickHighlightStyle::halo);
    EXPECT_DOUBLE_EQ(fresh.highlightProgress, 0.75);
    EXPECT_EQ(fresh.highlightPosition.x, 0.2);
    const CursorFrameState over = stateOf(1.6, style, events);
    EXPECT_EQ(over.highlight, ClickHighlightStyle::none);
    EXPECT_EQ(over.highlightPosition.x, 0.9);
}

TEST(CursorRenderer, TheTrailFadesWithAgeAndIsThinnedEvenly) {
    CursorStyle style = plainStyle();
    style.trailLengthSeconds = 1;
    style.trailIntensity = 0.8;
    style.trailStyle = CursorTrailStyle::subtle;
    const CursorFrameState few =
        stateOf(2, style, {moved(0.9, 0.1), moved(1.05, 0.2), moved(1.5, 0.3), moved(2, 0.4)});
    ASSERT_EQ(few.trailPoints.size(), 3U) << "too old, and too faint";
    EXPECT_NEAR(few.trailOpacities[0], std::pow(0.5, 1.8) * 0.8 * 0.75, 1e-12);
    EXPECT_NEAR(few.trailOpacities[1], 0.8 * 0.75, 1e-12);
    EXPECT_NEAR(few.trailOpacities[2], 0.8, 1e-12);

    style.trailStyle = CursorTrailStyle::dynamic;
    std::vector<MouseEvent> many;
    for (int i = 0; i <= 51; ++i) { // with the head 53, of which every fourth is kept
        many.push_back(moved(1.25 + i / 64.0, i));
    }
    const CursorFrameState thinned = stateOf(many.back().timestamp, style, many);
    ASSERT_EQ(thinned.trailPoints.size(), 14U);
    for (std::size_t i = 0; i < 13; ++i) {
        EXPECT_EQ(thinned.trailPoints[i].x, double(4 * i)) << i;
        EXPECT_NEAR(thinned.trailOpacities[i], std::pow(1 - (51 - 4.0 * double(i)) / 64, 1.2) * 0.8, 1e-12);
    }
    EXPECT_EQ(thinned.trailPoints[13].x, 51);
}

TEST(CursorRenderer, TheFresherWitnessDecidesTheBase) {
    struct Case {
        const char* what;
        double stateTime;
        double stateX;
        double expectedX;
    };
    for (const Case& c :
         {Case{"state later and elsewhere", 1.0015, 0.6, 0.6}, Case{"too soon after", 1.0005, 0.6, 0.5},
          Case{"at the same place", 1.5, 0.5004, 0.5}, Case{"state earlier", 0.5, 0.6, 0.5}}) {
        const auto state = stateOf(2, plainStyle(), {moved(1, 0.5)}, {seen(c.stateTime, c.stateX)});
        EXPECT_EQ(state.position.x, c.expectedX) << c.what;
    }
    CursorStyle style = plainStyle();
    const CursorFrameState alone = stateOf(2, style, {}, {seen(1, 0.7)});
    EXPECT_EQ(alone.position, (Vec2{0.7, 0.5}));
    ASSERT_TRUE(alone.appearance);
    EXPECT_EQ(decodeDocument<CursorFrameState>(encodeDocument(alone)), alone);
    style.glyphSelectionMode = CursorGlyphSelectionMode::manual;
    EXPECT_FALSE(stateOf(2, style, {}, {seen(1, 0.7)}).appearance);
}

} // namespace
} // namespace tavrin
