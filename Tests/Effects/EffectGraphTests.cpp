#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "../Project/WildEdits.h"
#include "TavrinKit/Effects/AutoZoomGenerator.h"
#include "TavrinKit/Effects/CameraPiPLayoutResolver.h"
#include "TavrinKit/Effects/CursorPlaybackSupport.h"
#include "TavrinKit/Effects/EffectGraphRenderer.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Effects/ReframingEngine.h"
#include "TavrinKit/Effects/TypingRenderer.h"
#include "TavrinKit/Project/PlaybackTrim.h"
#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin {
namespace {

/// Two seconds of moving, clicking and typing; the keys go on for another half.
std::shared_ptr<const EventTimeline> work() {
    std::vector<MouseEvent> mouse;
    for (int i = 0; i <= 200; ++i) {
        mouse.push_back(
            {i * 0.01, {i * 0.005, 0.5}, i % 50 == 7 ? MouseEventKind::clicked : MouseEventKind::moved});
    }
    std::vector<KeyEvent> keys;
    for (int i = 0; i < 20; ++i) {
        keys.push_back({0.5 + i * 0.1, "k"});
    }
    return std::make_shared<const EventTimeline>(std::move(mouse), std::move(keys));
}

RenderRequest requestOf(std::shared_ptr<const EventTimeline> events, double duration, double fps) {
    RenderRequest request;
    request.duration = duration;
    request.events = std::move(events);
    request.timeline = PremiumDefaults::timelineModel();
    request.timeline.zoomTrack.segments = {{.startTime = 1, .endTime = 3, .focus = {0.5, 0.5}, .scale = 2}};
    request.viewport = {{960, 540}, fps};
    return request;
}

TEST(EffectGraph, EveryFrameIsWhatItIsAlone) {
    const EffectGraphRenderer renderer;
    const RenderRequest request = requestOf(work(), 4, 32);
    RenderRequest twice = request;
    twice.viewport.fps = 64;
    const std::vector<RenderFrame> frames = renderer.renderPlan(request);
    const std::vector<RenderFrame> more = renderer.renderPlan(twice);
    ASSERT_EQ(frames.size(), 128U);
    ASSERT_EQ(more.size(), 256U);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        ASSERT_EQ(frames[i], more[2 * i]) << i;
        ASSERT_EQ(frames[i].typing,
                  TypingRenderer::frameState(i / 32.0, *request.events, request.timeline.typingTrack.style));
    }
    // The shutter is that of 60 frames a second, whatever the rate.
    EXPECT_DOUBLE_EQ(frames[0].motionBlur.temporalOffsets.back(), 0.18 / 60 / 2);
    EXPECT_EQ(frames[0].framing.contentPadding, 52);
    EXPECT_EQ(decodeDocument<RenderFrame>(encodeDocument(frames[70])), frames[70]);
}

TEST(EffectGraph, TheEndBehaviourHoldsTheCursorAlone) {
    RenderRequest request = requestOf(work(), 4, 32);
    request.timeline.cursorTrack.style.endBehavior = CursorEndBehavior::stop;
    const std::vector<RenderFrame> frames = EffectGraphRenderer().renderPlan(request);
    EXPECT_EQ(frames[65].cursor, frames[127].cursor);
    EXPECT_NE(frames[63].cursor, frames[65].cursor);
    EXPECT_NE(frames[66].typing, frames[78].typing);
    EXPECT_NE(frames[80].camera, frames[92].camera);
}

TEST(EffectGraph, ACursorInTheRecordingIsNeitherDrawnNorHidden) {
    RenderRequest request = requestOf(work(), 2, 32);
    request.timeline.cursorTrack.style.hideDuringZoomSegments = true;
    const std::vector<RenderFrame> own = EffectGraphRenderer().renderPlan(request);
    EXPECT_TRUE(own[31].cursor.visible);
    EXPECT_FALSE(own[32].cursor.visible);
    EXPECT_TRUE(own[32].cursor.bodyVisible);
    request.sourceEmbedsCursor = true;
    for (const RenderFrame& frame : EffectGraphRenderer().renderPlan(request)) {
        EXPECT_FALSE(frame.cursor.bodyVisible);
        EXPECT_TRUE(frame.cursor.visible);
    }
}

TEST(EffectGraph, WithoutEventsTheCursorIdles) {
    const RenderRequest request = requestOf(nullptr, 1.01, 30);
    const std::vector<RenderFrame> frames = EffectGraphRenderer().renderPlan(request);
    EXPECT_EQ(frames.size(), 31U);
    EXPECT_EQ(frames.back().time, 1.0);
    EXPECT_EQ(frames.back().cursor.opacity, 0);
    EXPECT_EQ(frames.back().typing, TypingFrameState());
    for (const auto& [duration, fps] :
         {std::pair(0.0, 30.0), {-1.0, 30.0}, {1.0, 0.0}, {NAN, 30.0}, {1.0, INFINITY}}) {
        EXPECT_TRUE(EffectGraphRenderer().renderPlan(requestOf(nullptr, duration, fps)).empty());
        EXPECT_TRUE(EffectGraphRenderer::makeFrameTimes(duration, fps).empty());
    }
}

/// All numbers of a value that can be written, which a number that is not finite can't.
template <typename T>
testing::AssertionResult isFinite(const T& value) {
    try {
        static_cast<void>(encodeDocument(value));
        return testing::AssertionSuccess();
    } catch (const JsonError& error) {
        return testing::AssertionFailure() << error.what();
    }
}

std::shared_ptr<const EventTimeline> wildEvents(std::mt19937& random) {
    const auto wild = [&] {
        constexpr std::array numbers{0.0, 0.3, 0.5, 0.7, 1.0, 1.2, 2.0, -1.0, 1e308, -1e308, 1e-308};
        return numbers[std::uniform_int_distribution<std::size_t>(0, numbers.size() - 1)(random)];
    };
    std::vector<MouseEvent> mouse;
    std::vector<CursorStateEvent> states;
    std::vector<KeyEvent> keys;
    for (int i = std::uniform_int_distribution(0, 30)(random); i > 0; --i) {
        mouse.push_back({wild(), {wild(), wild()}, MouseEventKind(i % 3), i});
        states.push_back({wild(), {wild(), wild()}, i % 4 != 0, CursorAppearance("a", {1}, {}, {8, 8})});
        keys.push_back({wild(), "k"});
    }
    return std::make_shared<const EventTimeline>(std::move(mouse), std::move(keys), std::move(states));
}

/// Whatever a file says, and at whatever time: every evaluator answers with numbers.
TEST(EffectGraph, AnswersWithNumbersForAnyDocumentAndAnyTime) {
    constexpr double extremes[] = {NAN, -INFINITY, -1e308, -1, 0, 1e-308, 0.5, 1e9, 1e308, INFINITY};
    for (unsigned seed = 0; seed < 500; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        RenderRequest request;
        request.timeline = test::wildEdits(random).timeline;
        request.events = seed % 5 == 0 ? nullptr : wildEvents(random);
        request.duration = 2;
        request.viewport.fps = 20;
        request.blurMode = MotionBlurQualityMode(seed % 2);
        const TimelineModel& timeline = request.timeline;
        for (const RenderFrame& frame : EffectGraphRenderer().renderPlan(request)) {
            ASSERT_TRUE(isFinite(frame)) << frame.time;
        }
        const EventTimeline events = request.events ? *request.events : EventTimeline();
        const auto lastActivity = CursorPlaybackSupport::lastActivityTime(events);
        for (const double time : extremes) {
            const CameraTransform camera = CameraAnimator().transform(time, timeline.zoomTrack);
            ASSERT_TRUE(isFinite(camera));
            ASSERT_TRUE(isFinite(CursorPlaybackSupport::frameState(time, events, timeline.cursorTrack.style,
                                                                   timeline.zoomTrack,
                                                                   {std::abs(time), lastActivity})));
            ASSERT_TRUE(isFinite(TypingRenderer::frameState(time, events, timeline.typingTrack.style)));
            const Rect pip =
                CameraPiPLayoutResolver::rect({0, 0, 1920, 1080}, timeline.cameraPiPTrack.style, camera);
            ASSERT_TRUE(isFinite(pip));
            ASSERT_TRUE(
                std::isfinite(CameraPiPLayoutResolver::cornerRadius(pip, timeline.cameraPiPTrack.style)));
            const MotionBlurPlan plan =
                MotionBlurEngine::plan(timeline.motionBlurStyle, request.blurMode, std::abs(time));
            for (const double sample : MotionBlurEngine::sampleTimes(time, 1, plan)) {
                ASSERT_TRUE(sample >= 0 && sample <= 1);
            }
            ASSERT_TRUE(isFinite(PlaybackTrim::trimmedTimeline(
                timeline, PlaybackTrim::resolvedRange(timeline, std::abs(time)))));
        }
        const Size2D odd{timeline.cropTrack.region.width, timeline.cropTrack.region.height};
        for (const Size2D size : {Size2D{1920, 1080}, odd}) {
            ASSERT_TRUE(
                isFinite(ReframingEngine::reframedTrack(timeline.zoomTrack, size, AspectPreset::square1x1)));
        }
        for (const ZoomSegment& segment : AutoZoomGenerator().generate(events, AutoZoomConfig::standard())) {
            ASSERT_TRUE(isFinite(segment));
        }
    }
}

} // namespace
} // namespace tavrin
