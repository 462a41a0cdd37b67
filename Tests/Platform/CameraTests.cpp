#include <algorithm>
#include <chrono>
#include <cmath>
#include <deque>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include "FakeCamera.h"
#include "Fixtures/Child.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Platform/V4L2/CameraMode.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCapture.h"
#include "TavrinKit/Support/HostClock.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

using namespace std::chrono_literals;

TEST(CameraModeTests, theNearestRateThenTheBestSizeThenTheCheapestFormat) {
    const std::vector<std::pair<std::vector<CameraMode>, CameraMode>> table = {
        // A usual camera: raw pictures are large and slow, compressed ones are not.
        {{{"yuyv422", {1920, 1080}, 5},
          {"yuyv422", {640, 480}, 30},
          {"mjpeg", {1920, 1080}, 30},
          {"h264", {1920, 1080}, 30},
          {"mjpeg", {3840, 2160}, 30}},
         {"mjpeg", {1920, 1080}, 30}},
        {{{"yuyv422", {1280, 720}, 10}, {"yuyv422", {640, 480}, 30}}, {"yuyv422", {640, 480}, 30}},
        {{{"mjpeg", {1280, 720}, 60}, {"mjpeg", {1280, 720}, 29.97}, {"mjpeg", {640, 480}, 30}},
         {"mjpeg", {1280, 720}, 29.97}},
        {{{"mjpeg", {1280, 720}, 15}, {"mjpeg", {640, 480}, 20}}, {"mjpeg", {640, 480}, 20}},
        {{{"h264", {2592, 1944}, 30}, {"h264", {2048, 1536}, 30}}, {"h264", {2048, 1536}, 30}},
        {{{"h264", {1280, 720}, 30}, {"nv12", {1280, 720}, 0}}, {"nv12", {1280, 720}, 0}}};
    for (const auto& [modes, best] : table) {
        EXPECT_EQ(bestCameraMode(modes), best) << best.format << " " << best.size.width;
    }
    EXPECT_FALSE(bestCameraMode({}));
}

struct FixedList : CaptureDeviceCataloging {
    explicit FixedList(std::vector<CaptureDevice> devices) : list(std::move(devices)) {}
    [[nodiscard]] std::vector<CaptureDevice> devices(std::stop_token) const override { return list; }
    std::vector<CaptureDevice> list;
};

struct Permission : CameraPermissionProviding {
    explicit Permission(bool isGiven) : answer(isGiven) {}
    [[nodiscard]] bool requestAccessIfNeeded(std::stop_token) override { return answer; }
    bool answer;
};

class CameraTests : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path movie() const { return folder / "camera.mov"; }

    V4L2CameraCapture& capture(std::vector<CaptureDevice> devices, double patience = 6, bool mayUse = true) {
        V4L2CameraCapture::Settings settings;
        settings.devices = std::make_shared<FixedList>(std::move(devices));
        settings.permissionProvider = std::make_shared<Permission>(mayUse);
        settings.startPatience = patience;
        return captures.emplace_back(movie(), settings);
    }
    V4L2CameraCapture& capture(const FakeCamera& camera, double patience = 6) {
        return capture({{camera.path(), "Desk Camera"}}, patience);
    }

    static std::optional<CameraCaptureErrorKind> errorOf(const std::function<void()>& call,
                                                         std::string* sentence = nullptr) {
        try {
            call();
        } catch (const CameraCaptureError& error) {
            if (sentence != nullptr) {
                *sentence = error.what();
            }
            return error.kind();
        }
        return std::nullopt;
    }

    static std::string output(const std::string& command) {
        return Child({"/bin/sh", "-c", command}).wait().output;
    }

    const TemporaryFolder folder;
    std::deque<V4L2CameraCapture> captures;
    const CameraCaptureOptions options{.includeCamera = true, .preferredDeviceID = "gone"};
};

TEST_F(CameraTests, everyKindOfDeviceIsRecordedWithTheTimesOfItsPictures) {
    // In BT.709, limited range, a luma of 128.
    const std::string still = "ffmpeg -v error -f lavfi -i color=c=0x30a050:size=1280x720 -frames:v 1 ";
    for (const auto& [format, picture] :
         {std::pair{V4L2_PIX_FMT_YUYV, std::string()},
          std::pair{V4L2_PIX_FMT_MJPEG, output(still + "-f mjpeg -q:v 2 -")},
          std::pair{V4L2_PIX_FMT_H264, output(still + "-c:v libx264 -tune zerolatency -f h264 -")}}) {
        SCOPED_TRACE(format);
        const FakeCamera camera({.modes = {{V4L2_PIX_FMT_YUYV, {1920, 1080}, 5},
                                           {V4L2_PIX_FMT_GREY, {1920, 1080}},
                                           {format, {1280, 720}}},
                                 .picture = picture});
        V4L2CameraCapture& recorder = capture(camera);
        recorder.start(options, {});
        EXPECT_EQ(errorOf([&] { recorder.start(options, {}); }), CameraCaptureErrorKind::alreadyStarted);
        std::this_thread::sleep_for(1s);
        const double before = HostClock::now();
        const CameraCaptureTrackResult taken = recorder.stop({});
        EXPECT_GE(taken.endedAt, before - 0.05);
        EXPECT_LE(taken.endedAt, HostClock::now());
        EXPECT_THAT(recorder.warnings(), testing::Each(testing::StartsWith("camera_frames_dropped")));

        VideoReader reader(movie());
        EXPECT_EQ(reader.info().naturalSize, (PixelSize{1280, 720}));
        EXPECT_NEAR(reader.info().duration, taken.duration(), 0.01);
        const std::vector<double> times = camera.times();
        int pictures = 0;
        while (const auto frame = reader.next()) {
            const double shownAt = taken.startedAt + frame->time;
            const auto distance = [&](double stamp) {
                return std::abs(HostClock::fromMonotonic(std::llround(stamp * 1e9)) - shownAt);
            };
            EXPECT_LT(distance(std::ranges::min(times, {}, distance)), 2e-5);
            EXPECT_NEAR(frame->pixels.row(0, 300)[500], 128, 3);
            pictures += 1;
        }
        EXPECT_GE(pictures, 4); // a busy machine drops some
    }
}

TEST_F(CameraTests, theMovieIsCutToTheTakeAndOutlivesTheDevice) {
    V4L2CameraCapture& recorder =
        capture(std::vector<CaptureDevice>{{"lavfi:testsrc2=size=320x240:rate=30", "Synthetic"}});
    recorder.start(options, {});
    const double zero = HostClock::now() - 0.02;
    recorder.setTimeZero(zero);
    std::this_thread::sleep_for(600ms);
    const double end = HostClock::now();
    recorder.setEnd(end);
    std::this_thread::sleep_for(300ms);
    const CameraCaptureTrackResult whole = recorder.stop({});
    EXPECT_EQ(whole.startedAt, zero);
    EXPECT_EQ(whole.endedAt, end);
    EXPECT_NEAR(probeMedia(movie()).duration, end - zero, 0.001);
    EXPECT_THAT(recorder.warnings(), testing::IsEmpty());

    const FakeCamera camera({.modes = {{V4L2_PIX_FMT_YUYV}}, .picturesToLive = 12});
    V4L2CameraCapture& unplugged = capture(camera);
    unplugged.start(options, {});
    EXPECT_TRUE(eventually([&] { return !unplugged.warnings().empty(); }));
    EXPECT_EQ(unplugged.stop({}).mediaURL, movie());
    EXPECT_EQ(VideoReader(movie()).info().frameCount, 12);
    EXPECT_THAT(unplugged.warnings(), testing::ElementsAre("camera_disconnected"));
}

TEST_F(CameraTests, aCameraThatDoesNotStartSaysWhyAndLeavesNothing) {
    std::ofstream(movie()) << "what lay there";
    std::string sentence;
    const auto started = [&](V4L2CameraCapture& recorder) {
        return errorOf([&] { recorder.start(options, {}); }, &sentence);
    };
    EXPECT_EQ(started(capture(std::vector<CaptureDevice>{})), CameraCaptureErrorKind::deviceUnavailable);
    EXPECT_EQ(started(capture({{"/dev/null", ""}}, 6, false)), CameraCaptureErrorKind::permissionDenied);
    EXPECT_TRUE(std::filesystem::exists(movie()));
    EXPECT_EQ(started(capture({{"/dev/nowhere", "Old Camera"}})),
              CameraCaptureErrorKind::recordingStartFailed);
    {
        const FakeCamera camera({.modes = {{V4L2_PIX_FMT_GREY}}});
        EXPECT_EQ(started(capture(camera)), CameraCaptureErrorKind::unableToAddInput);
    }
    {
        const FakeCamera camera({.modes = {{V4L2_PIX_FMT_YUYV}}, .isBusy = true});
        EXPECT_EQ(started(capture(camera)), CameraCaptureErrorKind::recordingStartFailed);
        EXPECT_EQ(sentence, "Unable to start camera recording: The camera " + camera.path() +
                                " is in use by another program.");
    }
    {
        const FakeCamera camera({.modes = {{V4L2_PIX_FMT_YUYV}}, .isSilent = true});
        EXPECT_EQ(started(capture(camera, 0.5)), CameraCaptureErrorKind::recordingStartFailed);
        EXPECT_THAT(sentence, testing::HasSubstr("Desk Camera has delivered no picture for 0.5 seconds"));
        // A device that can be waited for only by a cancel.
        V4L2CameraCapture& recorder = capture(camera);
        std::jthread canceller([&] {
            std::this_thread::sleep_for(200ms);
            recorder.cancel();
        });
        EXPECT_THROW(recorder.start(options, {}), CancellationError);
    }
    // A driver that hangs: the thread is left behind.
    EXPECT_EQ(started(capture({{"lavfi:testsrc=rate=10:duration=3,realtime,select=0", "Hung"}}, 0.5)),
              CameraCaptureErrorKind::recordingStartFailed);

    V4L2CameraCapture& idle = capture(std::vector<CaptureDevice>{});
    idle.cancel();
    EXPECT_EQ(errorOf([&] { (void)idle.stop({}); }), CameraCaptureErrorKind::notStarted);
    EXPECT_FALSE(std::filesystem::exists(movie()));
}

TEST_F(CameraTests, cancellingMidTakeRemovesTheFile) {
    V4L2CameraCapture& recorder =
        capture({{"other", ""}, {"lavfi:testsrc2=size=320x240:rate=30", "Synthetic"}});
    CameraCaptureOptions preferring = options;
    preferring.preferredDeviceID = "lavfi:testsrc2=size=320x240:rate=30";
    recorder.start(preferring, {});
    EXPECT_TRUE(std::filesystem::exists(movie()));
    recorder.cancel();
    EXPECT_FALSE(std::filesystem::exists(movie()));
    EXPECT_EQ(errorOf([&] { (void)recorder.stop({}); }), CameraCaptureErrorKind::notStarted);
}

} // namespace
} // namespace tavrin::test
