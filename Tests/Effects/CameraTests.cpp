#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Effects/CameraAnimator.h"
#include "TavrinKit/Effects/Easing.h"
#include "TavrinKit/Effects/ReframingEngine.h"
#include "TavrinKit/Project/ZoomTrack.h"

namespace tavrin {
namespace {

ZoomSegment zoom(double start, double end, double scale, Vec2 focus = {0.25, 0.75},
                 ZoomTransitionStyle style = ZoomTransitionStyle::smooth) {
    return {.startTime = start, .endTime = end, .focus = focus, .scale = scale, .transitionStyle = style};
}

TEST(Easing, CurvesRiseFromZeroToOneAndMeetInTheMiddle) {
    for (auto* curve : {&Easing::quintInOut, &Easing::cubicInOut, &Easing::cubicOut}) {
        EXPECT_EQ(curve(0), 0);
        EXPECT_EQ(curve(1), 1);
        EXPECT_EQ(curve(-5), 0);
        EXPECT_EQ(curve(std::numeric_limits<double>::quiet_NaN()), 0);
        for (double t = 0; t < 1; t += 0.01) {
            EXPECT_LT(curve(t), curve(t + 0.01));
        }
    }
    EXPECT_DOUBLE_EQ(Easing::quintInOut(0.25), 16.0 / 1024);
    EXPECT_DOUBLE_EQ(Easing::quintInOut(0.75), 1 - 16.0 / 1024);
    EXPECT_DOUBLE_EQ(Easing::cubicInOut(0.25), 0.0625);
    EXPECT_DOUBLE_EQ(Easing::cubicInOut(0.75), 0.9375);
    EXPECT_DOUBLE_EQ(Easing::cubicOut(0.5), 0.875);
}

TEST(CameraAnimator, GoesInHoldsAndComesOut) {
    const ZoomTrack track{{zoom(10, 12, 1.9)}};
    const std::pair<double, double> cases[] = {{9.99, 1},
                                               {10, 1},
                                               {10.11, 1 + 0.9 * 0.0625},
                                               {10.22, 1.45},
                                               {10.44, 1.9},
                                               {11, 1.9},
                                               {11.56, 1.9},
                                               {11.78, 1.45},
                                               {12, 1},
                                               {12.01, 1},
                                               {std::numeric_limits<double>::quiet_NaN(), 1}};
    for (const auto& [time, scale] : cases) {
        const CameraTransform camera = CameraAnimator().transform(time, track);
        EXPECT_NEAR(camera.scale, scale, 1e-9) << time;
        const Vec2 expected = scale > 1 ? Vec2{0.25, 0.75} : Vec2{};
        EXPECT_NEAR(camera.center.x, expected.x, 1e-12) << time;
        EXPECT_NEAR(camera.center.y, expected.y, 1e-12) << time;
    }
    const ZoomTrack brief{{zoom(1, 1.2, 2)}}; // too short to hold: it turns in its middle
    for (const auto& [time, scale] : {std::pair{1.05, 1.5}, {1.1, 2.0}, {1.15, 1.5}}) {
        EXPECT_NEAR(CameraAnimator().transform(time, brief).scale, scale, 1e-9);
    }
}

TEST(CameraAnimator, SegmentsThatCannotZoomDontCount) {
    ZoomSegment disabled = zoom(0, 4, 2);
    disabled.enabled = false;
    ZoomSegment broken = zoom(0, 4, std::numeric_limits<double>::quiet_NaN());
    for (const ZoomSegment& segment : {disabled, broken, zoom(2, 2, 2), zoom(0, 4, 1), zoom(0, 4, 0.5)}) {
        EXPECT_EQ(CameraAnimator().transform(2, ZoomTrack{{segment}}), CameraTransform());
    }
    EXPECT_EQ(CameraAnimator().transform(2, ZoomTrack{{zoom(0, 4, 1e308, {1e308, -1e308})}}),
              CameraTransform());
}

TEST(CameraAnimator, OfOverlappingZoomsTheStrongestSetsTheScaleAndWeightTheFocus) {
    const ZoomTrack track{{zoom(0, 10, 1.5, {0, 0.9}), zoom(0, 10, 2.0, {0.6, 0.3})}};
    const CameraTransform camera = CameraAnimator().transform(5, track);
    EXPECT_DOUBLE_EQ(camera.scale, 2);
    EXPECT_NEAR(camera.center.x, 0.4, 1e-12);
    EXPECT_NEAR(camera.center.y, 0.5, 1e-12);
}

TEST(ReframingEngine, NarrowerExportsZoomLessAndKeepTheFocusOffTheEdges) {
    struct Case {
        const char* what;
        Vec2 focus;
        double scale;
        Size2D source;
        AspectPreset preset;
        Vec2 expectedFocus;
        double expectedScale;
    };
    const Size2D wide{1920, 1080};
    for (const Case& c : {
             Case{"narrower", {0.5, 0.5}, 2, wide, AspectPreset::square1x1, {0.5, 0.5}, 1.56},
             Case{"never below 1", {0.5, 0.5}, 1.2, wide, AspectPreset::vertical9x16, {0.5, 0.5}, 1},
             Case{"equal aspects", {0.5, 0.5}, 1.2, wide, AspectPreset::horizontal16x9, {0.5, 0.5}, 1.2},
             Case{"wider", {0, 1}, 2, {100, 100}, AspectPreset::horizontal16x9, {0.05, 0.95}, 2},
             Case{"overshooting", {1.02, -0.02}, 2, wide, AspectPreset::horizontal16x9, {0.95, 0.05}, 2},
             Case{"pixels", {1.5, 0.5}, 2, wide, AspectPreset::horizontal16x9, {1.5, 0.5}, 2},
             Case{"no source", {0, 0}, 2, {0, 0}, AspectPreset::vertical9x16, {0, 0}, 2},
         }) {
        const ZoomSegment segment = zoom(1, 2, c.scale, c.focus);
        ZoomSegment expected = segment;
        expected.focus = c.expectedFocus;
        const ZoomSegment result = ReframingEngine::reframed(segment, c.source, c.preset);
        EXPECT_NEAR(result.scale, c.expectedScale, 1e-12) << c.what;
        expected.scale = result.scale;
        EXPECT_EQ(result, expected) << c.what;
    }
    const ZoomTrack track{{zoom(5, 6, 2), zoom(1, 2, 2)}};
    EXPECT_EQ(ReframingEngine::reframedTrack(track, wide, AspectPreset::square1x1).segments[0].startTime, 1);
}

} // namespace
} // namespace tavrin
