#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include "CaptureFixtures.h"
#include "TavrinKit/Capture/GeometryTimelineRecorder.h"
#include "TavrinKit/Capture/StreamOutputBridge.h"

namespace tavrin {
namespace {

using test::greyPicture;
using test::TemporaryFolder;
using test::videoSample;

constexpr PixelSize size{64, 48};

const std::exception_ptr failure = std::make_exception_ptr(Error("gone"));

VideoSample placedAt(Rect screenRect) {
    VideoSample sample;
    sample.screenRect = screenRect;
    return sample;
}

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
        VideoSample sample = placedAt(step.screenRect);
        sample.contentRect = step.contentRect;
        sample.scaleFactor = step.scale;
        recorder.append(sample);
        EXPECT_EQ(recorder.samples().size(), step.count) << step.screenRect.x;
    }
    const CaptureGeometrySample first = recorder.samples()[0];
    EXPECT_EQ(first.contentRect, (Rect{0, 0, 100, 50}));
    EXPECT_EQ(first.surfaceSizePixels, (Size2D{200, 100}));
    EXPECT_GT(first.timestamp, 1e9);
}

TEST(StreamOutputBridge, SignalsAnySampleThatHasATime) {
    TemporaryFolder folder;
    const auto sink =
        std::make_shared<StreamAssetWriterSink>(folder / "m.mov", size.width, size.height, false);
    const auto geometry = std::make_shared<GeometryTimelineRecorder>(Size2D{64, 48});
    StreamOutputBridge bridge(sink, geometry);
    bridge.didOutput(videoSample(greyPicture(size, 60), std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(sink->receivedFrames(), 0);

    VideoSample idle = placedAt({0, 0, 10, 10});
    idle.presentationTime = 5;
    bridge.didOutput(idle);
    bridge.firstScreenSampleSignal().wait({});

    VideoSample blank = videoSample(greyPicture(size, 60), 6);
    blank.status = FrameStatus::blank;
    blank.screenRect = Rect{50, 50, 10, 10};
    bridge.didOutput(blank);
    EXPECT_EQ(sink->receivedFrames(), 1);
    EXPECT_EQ(geometry->samples().size(), 1u);

    EXPECT_FALSE(bridge.stopError());
    bridge.didStop(failure);
    bridge.firstScreenSampleSignal().wait({});
    EXPECT_EQ(sentenceOf(bridge.stopError()), "gone");
}

} // namespace
} // namespace tavrin
