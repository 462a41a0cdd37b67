#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Effects/CameraPiPLayoutResolver.h"
#include "TavrinKit/Effects/FrameTimes.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Project/CameraPiPStyle.h"
#include "TavrinKit/Project/MotionBlurStyle.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

void expectRect(const Rect& actual, const Rect& expected, const char* what) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9) << what;
    EXPECT_NEAR(actual.y, expected.y, 1e-9) << what;
    EXPECT_NEAR(actual.width, expected.width, 1e-9) << what;
    EXPECT_NEAR(actual.height, expected.height, 1e-9) << what;
}

const Rect frame{100, 200, 1600, 900};

TEST(CameraPiP, StandsInItsCornerAndIgnoresTheCameraWhenFixed) {
    struct Case {
        const char* what;
        CameraPiPAnchor anchor;
        CameraPiPShape shape;
        Rect expected;
    };
    // A quarter of the width is 400, a margin of a tenth of the height 90.
    for (const Case& c : {
             Case{"top left", CameraPiPAnchor::topLeft, CameraPiPShape::roundedRect, {190, 785, 400, 225}},
             Case{"top right", CameraPiPAnchor::topRight, CameraPiPShape::roundedRect, {1210, 785, 400, 225}},
             Case{"bottom left", CameraPiPAnchor::bottomLeft, CameraPiPShape::circle, {190, 290, 400, 400}},
             Case{
                 "bottom right", CameraPiPAnchor::bottomRight, CameraPiPShape::circle, {1210, 290, 400, 400}},
         }) {
        CameraPiPStyle style;
        style.anchor = c.anchor;
        style.shape = c.shape;
        style.widthFraction = 0.25;
        style.marginFraction = 0.1;
        expectRect(CameraPiPLayoutResolver::rect(frame, style, {{0.1, 0.9}, 3}), c.expected, c.what);
        style.layoutMode = CameraPiPLayoutMode::focusAware;
        style.focusReactionStrength = 1;
        expectRect(CameraPiPLayoutResolver::rect(frame, style, {{0.1, 0.9}, 1}), c.expected, c.what);
    }
}

TEST(CameraPiP, FullReactionGoesToTheCornerThatOpposesTheFocus) {
    struct Case {
        const char* what;
        Vec2 focus;
        CameraPiPAnchor expectedAnchor;
    };
    for (const Case& c : {
             Case{"low left", {0.2, 0.2}, CameraPiPAnchor::topRight},
             Case{"middle", {0.5, 0.5}, CameraPiPAnchor::topRight},
             Case{"high left", {0.5, 0.51}, CameraPiPAnchor::bottomRight},
             Case{"low right", {0.51, 0.5}, CameraPiPAnchor::topLeft},
             Case{"high right, in pixels", {1500, 1000}, CameraPiPAnchor::bottomLeft},
             Case{"low left, in pixels", {899, 649}, CameraPiPAnchor::topRight},
         }) {
        CameraPiPStyle style;
        style.widthFraction = 0.25;
        style.marginFraction = 0.1;
        CameraPiPStyle target = style;
        target.anchor = c.expectedAnchor;
        target.widthFraction = 0.22;
        target.marginFraction = 0.115;
        style.layoutMode = CameraPiPLayoutMode::focusAware;
        style.focusReactionStrength = 1;
        expectRect(CameraPiPLayoutResolver::rect(frame, style, {c.focus, 2.2}),
                   CameraPiPLayoutResolver::rect(frame, target, {}), c.what);
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
               {280, 380 + (900 - 360 - 90) / 2.0, 160, 90}, "to the top left");
}

TEST(MotionBlur, OffsetsStraddleTheFrameEvenly) {
    const MotionBlurPlan plan = MotionBlurEngine::plan({0.5}, MotionBlurQualityMode::export_, 60);
    ASSERT_EQ(plan.temporalOffsets.size(), 16U);
    EXPECT_DOUBLE_EQ(plan.temporalOffsets.front(), -1.0 / 240);
    EXPECT_DOUBLE_EQ(plan.temporalOffsets.back(), 1.0 / 240);
    for (std::size_t i = 1; i < 16; ++i) {
        EXPECT_NEAR(plan.temporalOffsets[i] - plan.temporalOffsets[i - 1], 1.0 / 120 / 15, 1e-15);
    }
    EXPECT_EQ(decodeDocument<MotionBlurPlan>(encodeDocument(plan)), plan);
}

TEST(MotionBlur, ShutterAndRateAreHeldToWhatACameraCould) {
    struct Case {
        double intensity;
        double frameRate;
        double exposure;
    };
    for (const Case& c :
         {Case{0, 60, 0}, Case{1, 60, 0.65 / 60}, Case{nan, 60, 0}, Case{0.5, 1000, 0.5 / 240},
          Case{0.5, 0.99, 0.5 / 60}, Case{0.5, 1, 0.5}, Case{0.5, nan, 0.5 / 60}, Case{0.5, inf, 0.5 / 60}}) {
        const MotionBlurPlan plan =
            MotionBlurEngine::plan({c.intensity}, MotionBlurQualityMode::preview, c.frameRate);
        ASSERT_EQ(plan.temporalOffsets.size(), 4U);
        EXPECT_DOUBLE_EQ(plan.temporalOffsets[3] - plan.temporalOffsets[0], c.exposure) << c.frameRate;
    }
}

TEST(MotionBlur, SampleTimesStayInTheMovie) {
    MotionBlurPlan plan;
    plan.temporalOffsets = {-0.5, 0, 0.5};
    struct Case {
        double center;
        double duration;
        MotionBlurTimes expected;
    };
    for (const Case& c :
         {Case{0, 10, {0, 0, 0.5}}, Case{9.75, 10, {9.25, 9.75, 10}}, Case{-3, 10, {0, 0, 0.5}},
          Case{20, 0, {19.5, 20, 20.5}}, Case{nan, 10, {0, 0, 0.5}}, Case{0, nan, {0, 0, 0.5}}}) {
        EXPECT_EQ(MotionBlurEngine::sampleTimes(c.center, c.duration, plan), c.expected) << c.center;
    }
    EXPECT_EQ(MotionBlurEngine::sampleTimes(3, 10, {}), MotionBlurTimes{3});
}

TEST(FrameTimes, CountsTheFramesThatStartBeforeTheEnd) {
    struct Case {
        double duration;
        double fps;
        std::int64_t count;
    };
    for (const Case& c : {Case{1, 30, 30}, Case{1.01, 30, 31}, Case{0.001, 30, 1}, Case{1.0 / 30, 30, 1},
                          Case{0.1 + 0.2, 10, 3}, Case{1.1 * 1.1, 100, 121}, Case{4.35, 100, 435},
                          Case{0, 30, 0}, Case{-1, 30, 0}, Case{1, 0, 0}, Case{nan, 30, 0}, Case{inf, 30, 0},
                          Case{1, nan, 0}, Case{3600.0001, 60, 216001}}) {
        EXPECT_EQ(FrameTimes(c.duration, c.fps).count(), c.count) << c.duration << " s at " << c.fps;
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
