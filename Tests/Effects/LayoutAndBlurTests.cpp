#include <cmath>
#include <limits>
#include <tuple>

#include <gtest/gtest.h>

#include "TavrinKit/Effects/CameraPiPLayoutResolver.h"
#include "TavrinKit/Effects/FrameTimes.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Project/CameraPiPStyle.h"
#include "TavrinKit/Project/MotionBlurStyle.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

void expectRect(const Rect& actual, const Rect& expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.width, expected.width, 1e-9);
    EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

const Rect frame{100, 200, 1600, 900};

TEST(CameraPiP, StandsInItsCornerAndIgnoresTheCameraWhenFixed) {
    using enum CameraPiPAnchor;
    // A quarter of the width is 400, a margin of a tenth of the height 90.
    const std::tuple<CameraPiPAnchor, CameraPiPShape, Rect> cases[] = {
        {topLeft, CameraPiPShape::roundedRect, {190, 785, 400, 225}},
        {topRight, CameraPiPShape::roundedRect, {1210, 785, 400, 225}},
        {bottomLeft, CameraPiPShape::circle, {190, 290, 400, 400}},
        {bottomRight, CameraPiPShape::circle, {1210, 290, 400, 400}},
    };
    for (const auto& [anchor, shape, expected] : cases) {
        SCOPED_TRACE(int(anchor));
        CameraPiPStyle style;
        style.anchor = anchor;
        style.shape = shape;
        style.widthFraction = 0.25;
        style.marginFraction = 0.1;
        expectRect(CameraPiPLayoutResolver::rect(frame, style, {{0.1, 0.9}, 3}), expected);
        style.layoutMode = CameraPiPLayoutMode::focusAware;
        style.focusReactionStrength = 1;
        expectRect(CameraPiPLayoutResolver::rect(frame, style, {{0.1, 0.9}, 1}), expected);
    }
}

TEST(CameraPiP, FullReactionGoesToTheCornerThatOpposesTheFocus) {
    const std::pair<Vec2, CameraPiPAnchor> cases[] = {
        {{0.2, 0.2}, CameraPiPAnchor::topRight},     {{0.5, 0.5}, CameraPiPAnchor::topRight},
        {{0.5, 0.51}, CameraPiPAnchor::bottomRight}, {{0.51, 0.5}, CameraPiPAnchor::topLeft},
        {{1500, 1000}, CameraPiPAnchor::bottomLeft}, // in pixels
        {{899, 649}, CameraPiPAnchor::topRight},
    };
    for (const auto& [focus, expectedAnchor] : cases) {
        CameraPiPStyle style;
        style.widthFraction = 0.25;
        style.marginFraction = 0.1;
        CameraPiPStyle target = style;
        target.anchor = expectedAnchor;
        target.widthFraction = 0.22;
        target.marginFraction = 0.115;
        style.layoutMode = CameraPiPLayoutMode::focusAware;
        style.focusReactionStrength = 1;
        SCOPED_TRACE(focus.x);
        expectRect(CameraPiPLayoutResolver::rect(frame, style, {focus, 2.2}),
                   CameraPiPLayoutResolver::rect(frame, target, {}));
    }
}

TEST(CameraPiP, HalfAReactionIsHalfTheWay) {
    CameraPiPStyle style;
    style.anchor = CameraPiPAnchor::bottomLeft;
    style.layoutMode = CameraPiPLayoutMode::focusAware;
    style.focusReactionStrength = 0.5;
    style.widthFraction = 0.1;
    style.marginFraction = 0.2;
    // Neither shrinks below a tenth nor moves further from the edge than a fifth: only x moves.
    expectRect(CameraPiPLayoutResolver::rect(frame, style, {{0.9, 0.1}, 9}),
               {280, 380 + (900 - 360 - 90) / 2.0, 160, 90});
}

TEST(MotionBlur, OffsetsStraddleTheFrameEvenly) {
    const MotionBlurPlan plan = MotionBlurEngine::plan({0.5}, MotionBlurQualityMode::export_, 60);
    ASSERT_EQ(plan.temporalOffsets.size(), 16U);
    EXPECT_DOUBLE_EQ(plan.temporalOffsets.front(), -1.0 / 240);
    EXPECT_DOUBLE_EQ(plan.temporalOffsets.back(), 1.0 / 240);
    for (std::size_t i = 1; i < 16; ++i) {
        EXPECT_NEAR(plan.temporalOffsets[i] - plan.temporalOffsets[i - 1], 1.0 / 120 / 15, 1e-15);
    }
}

TEST(MotionBlur, ShutterAndRateAreHeldToWhatACameraCould) {
    const std::tuple<double, double, double> cases[] = {{0, 60, 0},
                                                        {1, 60, 0.65 / 60},
                                                        {nan, 60, 0},
                                                        {0.5, 1000, 0.5 / 240},
                                                        {0.5, 0.99, 0.5 / 60},
                                                        {0.5, 1, 0.5},
                                                        {0.5, nan, 0.5 / 60},
                                                        {0.5, inf, 0.5 / 60}};
    for (const auto& [intensity, frameRate, exposure] : cases) {
        const MotionBlurPlan plan =
            MotionBlurEngine::plan({intensity}, MotionBlurQualityMode::preview, frameRate);
        ASSERT_EQ(plan.temporalOffsets.size(), 4U);
        EXPECT_DOUBLE_EQ(plan.temporalOffsets[3] - plan.temporalOffsets[0], exposure) << frameRate;
    }
}

TEST(FrameTimes, CountsTheFramesThatStartBeforeTheEnd) {
    const std::tuple<double, double, std::int64_t> cases[] = {{1, 30, 30},        {1.01, 30, 31},
                                                              {0.001, 30, 1},     {1.0 / 30, 30, 1},
                                                              {0.1 + 0.2, 10, 3}, {1.1 * 1.1, 100, 121},
                                                              {4.35, 100, 435},   {0, 30, 0},
                                                              {-1, 30, 0},        {1, 0, 0},
                                                              {nan, 30, 0},       {inf, 30, 0},
                                                              {1, nan, 0},        {3600.0001, 60, 216001}};
    for (const auto& [duration, fps, count] : cases) {
        EXPECT_EQ(FrameTimes(duration, fps).count(), count) << duration << " s at " << fps;
    }
    EXPECT_GT(FrameTimes(1e308, 1e308).count(), 0);
}

TEST(FrameTimes, AMovieOfWholeFramesHasJustThese) {
    for (const double fps : {23.976, 24.0, 29.97, 30.0, 59.94, 60.0, 120.0}) {
        double summed = 0;
        for (std::int64_t frames = 1; frames < 3000; ++frames) {
            summed += 1 / fps;
            for (const double duration : {double(frames) / fps, double(frames) * (1 / fps), summed}) {
                const FrameTimes times(duration, fps);
                ASSERT_EQ(times.count(), frames) << fps;
                EXPECT_LT(times.time(frames - 1), duration);
            }
            EXPECT_EQ(FrameTimes((double(frames) + 0.001) / fps, fps).count(), frames + 1);
        }
    }
}

} // namespace
} // namespace tavrin
