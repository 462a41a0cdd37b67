#include <cmath>
#include <thread>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/FrameCompositor.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

const PixelSize size{320, 180};
const Rect output{0, 0, 320, 180};

Image recording() {
    return Image::color({0.4, 0.4, 0.4, 1}).cropped(output);
}

/// A touch cursor without effects that stands still, over an unframed recording of 10 seconds.
FrameCompositor::Inputs inputs(std::vector<MouseEvent> events = {}) {
    TimelineModel timeline;
    timeline.framingTrack.style.padding = 0;
    timeline.framingTrack.style.cornerRadius = 0;
    CursorStyle& cursor = timeline.cursorTrack.style;
    cursor.sizeMultiplier = 2;
    cursor.smoothing = CursorSmoothingPreset::off;
    cursor.hideWhenIdle = false;
    cursor.bodyStyle = CursorBodyStyle::touch;
    cursor.trailStyle = CursorTrailStyle::none;
    cursor.clickHighlightStyle = ClickHighlightStyle::none;
    return {.events = std::make_shared<const EventTimeline>(EventTimeline(std::move(events))),
            .timeline = timeline,
            .timeMapper = TimelineTimeMapper(10, {}),
            .sourceDuration = 10,
            .packageRoot = {},
            .outputSize = size};
}

std::vector<MouseEvent> moves(std::initializer_list<std::pair<double, Vec2>> places) {
    std::vector<MouseEvent> events;
    for (const auto& [time, place] : places) {
        events.push_back({time, place, MouseEventKind::moved, {}});
    }
    return events;
}

/// The brightest point of a frame: where the touch cursor is.
Vec2 cursorIn(const FrameCompositor::Inputs& in, double time) {
    const Image frame = FrameCompositor(in).compose(time, recording());
    EXPECT_EQ(frame.extent(), output);
    const PixelBuffer picture = test::rendered(frame, output);
    Vec2 sum;
    int count = 0;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            if (test::pixel(picture, x, y)[0] > 240) {
                sum = sum + Vec2{x + 0.5, y + 0.5};
                ++count;
            }
        }
    }
    return count == 0 ? Vec2{-1, -1} : sum * (1.0 / count);
}

#define EXPECT_PLACE(place, px, py)                                                                          \
    do {                                                                                                     \
        const Vec2 seen = place;                                                                             \
        EXPECT_NEAR(seen.x, px, 0.6);                                                                        \
        EXPECT_NEAR(seen.y, py, 0.6);                                                                        \
    } while (false)

TEST(FrameCompositor, CursorFollowsTheRecordingsClock) {
    auto in = inputs(moves({{0, {0.25, 0.5}}, {4, {0.75, 0.5}}}));
    EXPECT_PLACE(cursorIn(in, 3.9), 80, 90);
    EXPECT_PLACE(cursorIn(in, 4), 240, 90);
    in.timeMapper = TimelineTimeMapper(10, {{.startTime = 0, .endTime = 6, .speed = PlaybackSpeed::x2}});
    EXPECT_PLACE(cursorIn(in, 1.9), 80, 90);
    EXPECT_PLACE(cursorIn(in, 2.1), 240, 90);
    EXPECT_PLACE(cursorIn(in, -5), 80, 90);
    EXPECT_PLACE(cursorIn(in, 1e9), 240, 90);
}

TEST(FrameCompositor, CursorGoesWithCameraCropAndFrame) {
    auto in = inputs(moves({{0, {0.5, 0.4}}}));
    in.timeline.zoomTrack.add({.startTime = 2, .endTime = 8, .focus = {0.25, 0.5}, .scale = 1.5});
    EXPECT_PLACE(cursorIn(in, 1), 160, 72);
    EXPECT_PLACE(cursorIn(in, 5), 80 + 80 * 1.5, 90 - 18 * 1.5);
    in.timeline.cropTrack.region = {0.5, 0, 0.5, 0.5};
    EXPECT_PLACE(cursorIn(in, 5), (200 - 160) * 2, 63 * 2);
    in.timeline.framingTrack.style.padding = 15;
    // The cropped frame is 160 × 90; inside its margins the picture is 60 high, in the middle.
    const double scale = 60.0 / 90;
    EXPECT_PLACE(cursorIn(in, 5), 2 * (80 + (40 - 80) * scale), 2 * (45 + (63 - 45) * scale));
}

TEST(FrameCompositor, WhoDrawsTheCursor) {
    auto events = moves({{0, {0.5, 0.5}}});
    events.push_back({3, {0.5, 0.5}, MouseEventKind::clicked, 0});
    auto in = inputs(events);
    in.timeline.zoomTrack.add({.startTime = 2, .endTime = 8, .focus = {0.5, 0.5}, .scale = 1.5});
    in.timeline.cursorTrack.style.clickHighlightStyle = ClickHighlightStyle::halo;
    const auto middle = [&](double time) {
        return test::pixel(FrameCompositor(in).compose(time, recording()), 160, 90);
    };
    const std::array bare{102, 102, 102, 255};
    EXPECT_GT(middle(1)[0], 240);
    in.timeline.cursorTrack.style.hideDuringZoomSegments = true;
    EXPECT_GT(middle(1)[0], 240);
    EXPECT_EQ(middle(3.05), bare) << "neither body nor highlight in a zoom";
    in.sourceEmbedsCursor = true;
    EXPECT_EQ(middle(1), bare);
    EXPECT_GT(middle(3.05)[2], 120) << "a highlight, whatever the zoom";
    in.events = nullptr;
    in.sourceEmbedsCursor = false;
    in.timeline.cursorTrack.style.hideWhenIdle = true;
    EXPECT_EQ(middle(1), bare);
}

TEST(FrameCompositor, FramesAreTheSameFromAnyThreadInAnyOrder) {
    auto in = inputs(moves({{0, {0.2, 0.2}}, {1, {0.4, 0.6}}, {2, {0.8, 0.3}}}));
    in.timeline.framingTrack.style.padding = 20;
    in.timeline.cursorTrack.style.bodyStyle = CursorBodyStyle::pointer;
    in.timeline.cursorTrack.style.trailStyle = CursorTrailStyle::dynamic;
    in.events = std::make_shared<const EventTimeline>(
        EventTimeline(in.events->mouseEvents(),
                      {{.timestamp = 0.3, .displayText = "a"}, {.timestamp = 0.6, .displayText = "b"}}));
    in.timeline.annotationTrack.regions = {{.startTime = 0.5, .endTime = 1.5, .content = "Here"}};
    in.timeline.watermarkTrack.style.enabled = true;
    const FrameCompositor compositor(in);
    const Image source = recording();
    const auto frame = [&](int i) {
        return test::rendered(compositor.compose(i * 0.05, source), output);
    };
    std::vector<PixelBuffer> parallel(48);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&, t] {
                for (int i = 47 - t; i >= 0; i -= 4) {
                    parallel[std::size_t(i)] = frame(i);
                }
            });
        }
    }
    for (int i = 0; i < 48; ++i) {
        EXPECT_TRUE(test::areEqual(frame(i), parallel[std::size_t(i)])) << i;
    }
}

} // namespace
} // namespace tavrin
