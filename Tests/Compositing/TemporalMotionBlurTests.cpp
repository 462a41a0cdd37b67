#include <array>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/TemporalMotionBlur.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Imaging/ImageNode.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Project/MotionBlurStyle.h"
#include "TavrinKit/Project/ZoomTrack.h"
#include "TestMovies.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

class TemporalMotionBlur : public testing::Test {
protected:
    [[nodiscard]] MediaAsset movie(const std::vector<double>& times, double endTime) const {
        return test::greyMovie(folder_, times, endTime);
    }

    [[nodiscard]] Image blurred(const Image& source, double time, const TemporalFrameSampler* sampler,
                                const TimelineTimeMapper& timeMapper, double frameRate = 30) const {
        const auto plan =
            MotionBlurEngine::plan({.intensity = 0.65}, MotionBlurQualityMode::export_, frameRate);
        const auto times = MotionBlurEngine::sampleTimes(time, timeMapper.editedDuration(), plan);
        return applyTemporalMotionBlur(source, time, times,
                                       {.sampler = sampler,
                                        .zoomTrack = zoomTrack_,
                                        .timeMapper = timeMapper,
                                        .cameraAnimator = cameraAnimator_});
    }

    test::TemporaryFolder folder_;
    ZoomTrack zoomTrack_;
    CameraAnimator cameraAnimator_;
};

/// Pictures whose brightness grows with time: what a blurred frame bears is the mean of its instants, in slow
/// motion behind the end of the recording's own clock as well.
TEST_F(TemporalMotionBlur, AFrameIsTheMeanOfItsInstants) {
    const MediaAsset asset = movie(test::evenTimes(50, 50), 1);
    const TimelineTimeMapper plain(1, {});
    const TimelineTimeMapper slow(1, {{.startTime = 0.2, .endTime = 0.8, .speed = PlaybackSpeed::x025}});
    for (const TimelineTimeMapper& mapper : {plain, slow}) {
        const MediaAsset edited = asset.retimed(mapper);
        const double duration = edited.duration();
        const TemporalFrameSampler sampler(edited, {TemporalFrameQuantizer::make(duration, 50), true});
        const auto check = [&](double time) {
            double expected = 0;
            for (int k = 0; k < 16; ++k) {
                const double offset = 0.65 / 30 * (k / 15.0 - 0.5);
                const double tick = std::round(std::clamp(time + offset, 0.0, duration) * 50) / 50 + 0.005;
                expected += std::floor(mapper.sourceTime(std::min(tick, duration - 0.005)) * 50 + 1e-3) / 16;
            }
            const Image source = sampler.sample(time)->image;
            EXPECT_NEAR(test::numberIn(blurred(source, time, &sampler, mapper)), expected, 0.4) << time;
        };
        check(0);
        check(duration);
        std::vector<std::jthread> threads;
        for (unsigned seed = 0; seed < 2; ++seed) {
            threads.emplace_back([&, seed] {
                std::mt19937 random(seed);
                std::uniform_real_distribution<double> anyTime(0, duration);
                for (int i = 0; i < 20; ++i) {
                    check(anyTime(random));
                }
            });
        }
    }
}

/// A screen on which nothing moves costs what a plain frame costs; only a camera that moves smears it.
TEST_F(TemporalMotionBlur, OnePictureWithOneCameraIsOneTerm) {
    const MediaAsset asset = movie({0, 0.01}, 4);
    const TimelineTimeMapper mapper(4, {});
    const TemporalFrameSampler sampler(asset, {TemporalFrameQuantizer::make(4, 60), true});
    zoomTrack_.add({.startTime = 1, .endTime = 3, .focus = {0.3, 0.4}, .scale = 2});
    const Image source = sampler.sample(2)->image;
    const auto termsAt = [&](double time) {
        const Image frame = blurred(source, time, &sampler, mapper);
        const auto plain = applyCamera(source, cameraAnimator_.transform(time, zoomTrack_));
        return std::pair{frame.node()->hash == plain.node()->hash, frame.isOpaque()};
    };
    EXPECT_EQ(termsAt(0.5), std::pair(true, true)); // no zoom
    EXPECT_EQ(termsAt(2), std::pair(true, true));   // it holds
    EXPECT_EQ(termsAt(1.2), std::pair(false, true));
}

/// A take of 60 pictures a second in which a window is dragged, finished at 30: the window smears, the rest
/// of the screen stays as sharp as it is.
TEST_F(TemporalMotionBlur, MovingWindowsSmear) {
    const PixelSize screen{1280, 720};
    const Rect frame{0, 0, 1280, 720};
    const auto windowLeft = [](double time) {
        return 300 + 900 * time;
    };
    Image desk = Image::color({1, 1, 1, 1}).cropped(frame);
    for (int i = 0; i < 12; ++i) {
        desk = Image::roundedRectangle({310.0 + 70 * i, 40, 30, 120}, 9, {0.1, 0.3, 0.6, 1}).over(desk);
    }
    ImageRenderer renderer;
    const auto picture = [&](int i) {
        const Rect window{windowLeft(i / 60.0), 200, 360, 240};
        const Image dragged = Image::roundedRectangle(window, 10, {0.12, 0.14, 0.2, 1}).over(desk);
        return renderer.render(dragged, frame, PixelFormat::i420);
    };
    const MediaAsset asset = test::movieOf(picture, folder_, test::evenTimes(40, 60), 40 / 60.0);
    TimelineModel timeline;
    timeline.framingTrack.style.padding = 0;
    timeline.framingTrack.style.cornerRadius = 0;
    const auto sampler = std::make_shared<const TemporalFrameSampler>(
        asset, TemporalFrameSampler::Options{TemporalFrameQuantizer::make(asset.duration(), 60), true});
    const auto drawn = [&](double intensity) {
        const FrameCompositor compositor(
            {.events = {},
             .timeline = timeline,
             .timeMapper = TimelineTimeMapper(asset.duration(), {}),
             .sourceDuration = asset.duration(),
             .packageRoot = {},
             .motionBlur =
                 FrameCompositor::MotionBlur{
                     MotionBlurEngine::plan({.intensity = intensity}, MotionBlurQualityMode::export_, 30),
                     sampler},
             .camera = {},
             .outputSize = screen});
        const double time = 8 / 30.0;
        return test::rendered(compositor.compose(time, sampler->sample(time)->image), frame);
    };
    const PixelBuffer sharp = drawn(0);
    const PixelBuffer blurred = drawn(0.65);

    const int edge = int(windowLeft(16 / 60.0));
    int previous = 255;
    int steps = 0;
    for (int x = edge - 40; x <= edge + 40; ++x) { // from the desk into the window, down the smear
        const int level = test::pixel(blurred, x, 230)[0];
        EXPECT_LE(level, previous + 4) << x;
        steps += level > 45 && level < 240 ? 1 : 0;
        previous = level;
    }
    EXPECT_NEAR(steps, 30, 4);          // three pictures, 15 pixels apart
    for (int y = 20; y < 190; y += 7) { // where nothing moves
        for (int x = 300; x < 1200; x += 3) {
            // The encoder moves a colour by a few levels between pictures.
            ASSERT_NEAR(test::pixel(blurred, x, y)[0], test::pixel(sharp, x, y)[0], 8) << x << " " << y;
        }
    }
}

} // namespace
} // namespace tavrin
