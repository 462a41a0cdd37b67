#include <optional>

#include <gtest/gtest.h>

#include "TavrinKit/Capture/GeometryTimelineRecorder.h"

namespace tavrin {
namespace {

TEST(GeometryTimelineRecorder, TakesDownMovesOnly) {
    GeometryTimelineRecorder recorder({200, 100});
    const struct {
        Rect screenRect;
        std::optional<Rect> contentRect;
        std::optional<double> scale;
        std::size_t count;
    } steps[] = {
        {{0, 0, 100, 50}, {}, 2, 1},
        {{0.5, -0.5, 100.5, 49.5}, {}, 2.01, 1},
        {{0.6, 0, 100, 50}, {}, 2, 2},
        {{1, 0, 100, 50}, {}, 2, 2}, // compared with the last one kept
        {{1, 0, 100, 50}, {}, 2.02, 3},
        {{1, 0, 100, 50}, Rect{0, 0, 98, 48}, 2.02, 4},
        {{101, 50, -100, -50}, Rect{0, 0, 98, 48}, 2.02, 4},
    };
    for (const auto& step : steps) {
        VideoSample sample;
        sample.screenRect = step.screenRect;
        sample.contentRect = step.contentRect;
        sample.scaleFactor = step.scale;
        recorder.append(sample);
        EXPECT_EQ(recorder.samples().size(), step.count) << step.screenRect.x;
    }
    VideoSample blank;
    blank.screenRect = Rect{500, 500, 100, 50};
    blank.status = FrameStatus::blank;
    recorder.append(blank);
    EXPECT_EQ(recorder.samples().size(), 4u);
    const CaptureGeometrySample first = recorder.samples()[0];
    EXPECT_EQ(first.contentRect, (Rect{0, 0, 100, 50}));
    EXPECT_EQ(first.surfaceSizePixels, (Size2D{200, 100}));
    EXPECT_GT(first.timestamp, 1e9);
}

} // namespace
} // namespace tavrin
