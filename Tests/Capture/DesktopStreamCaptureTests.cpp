#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "CaptureFixtures.h"
#include "FakeDesktop.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using namespace test;
using Kind = DesktopStreamCaptureErrorKind;
using Warnings = std::vector<std::string>;

const std::exception_ptr displayGone = std::make_exception_ptr(Error("The display has gone."));

void untilStopped(ScreenStreamOutput&, const std::stop_token& stop) {
    sleepFor(1h, stop);
}

struct FixedPermission : MicrophonePermissionProviding, CameraPermissionProviding {
    explicit FixedPermission(bool isGranted) : answer(isGranted) {}
    bool requestAccessIfNeeded(std::stop_token) override { return answer; }
    bool answer;
};

class DesktopStreamCaptureTest : public ::testing::Test {
protected:
    DesktopStreamCaptureTest() {
        options.target = RecordingTarget::display("main");
        options.applicationExclusionRule = {};
        services.backend = desktop;
    }
    ~DesktopStreamCaptureTest() override { gate->open(); }

    std::shared_ptr<DesktopStreamCapture> makeCapture() {
        return std::make_shared<DesktopStreamCapture>(services, folder.path(),
                                                      CaptureApplicationExclusionRule{{"org.own"}, {}});
    }
    /// A step that hangs, whatever it is asked, until the test ends.
    auto hanging() {
        return [gate = gate](auto&&...) {
            gate->wait();
        };
    }
    void useSideCaptures(Failing microphone = Failing::nothing, Failing camera = Failing::nothing) {
        options.audio.includeMicrophone = true;
        options.camera.includeCamera = true;
        services.microphoneCaptureFactory = [=, this](const auto&) {
            return std::make_shared<FakeMicrophone>(log, microphone);
        };
        services.cameraCaptureFactory = [=, this](const auto&) {
            return std::make_shared<FakeCamera>(log, camera);
        };
    }
    Kind told(const DesktopStreamCaptureError& error) {
        sentence = error.what();
        return error.kind();
    }
    Kind startFailure(DesktopStreamCapture& capture) {
        return told(failureOf<DesktopStreamCaptureError>([&] { capture.start(options, {}); }));
    }
    Kind stopFailure(DesktopStreamCapture& capture) {
        return told(failureOf<DesktopStreamCaptureError>([&] { static_cast<void>(capture.stop({})); }));
    }
    ScreenCaptureResult take() {
        const auto capture = makeCapture();
        capture->start(options, {});
        return capture->stop({});
    }

    TemporaryFolder folder;
    std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    std::shared_ptr<FakeDesktop> desktop = std::make_shared<FakeDesktop>(log);
    DesktopStreamCapture::Services services;
    CaptureOptions options;
    std::string sentence;
    std::shared_ptr<Gate> gate = std::make_shared<Gate>();
};

TEST_F(DesktopStreamCaptureTest, RecordsFromTheFirstPictureToTheStop) {
    double first = 0;
    desktop->script.onStart = [&](ScreenStreamOutput& output, const auto&) {
        VideoSample sample = desktopPicture(60);
        first = sample.presentationTime;
        output.didOutput(std::move(sample));
    };
    desktop->script.droppedFrames = 3;
    const auto capture = makeCapture();
    capture->start(options, {});
    EXPECT_EQ(startFailure(*capture), Kind::alreadyRecording);
    std::this_thread::sleep_for(60ms);
    desktop->output.lock()->didOutput(desktopPicture(200));
    std::this_thread::sleep_for(60ms);
    const ScreenCaptureResult result = capture->stop({});

    EXPECT_EQ(result.startedAt, first);
    EXPECT_EQ(result.warnings, Warnings{"frames_dropped:3"});
    const auto frames = framesOf(result.screenSourceURL);
    ASSERT_GE(frames.size(), 3u);
    EXPECT_NEAR(frames.front().luma, 60, 3);
    EXPECT_NEAR(frames.back().luma, 200, 3);
    EXPECT_NEAR(probeMedia(result.screenSourceURL).video.at(0).duration, result.duration(), 2e-3);
    EXPECT_EQ(log->text(), "start stop removeOutput");
    EXPECT_TRUE(desktop->output.expired());
    EXPECT_EQ(capture->statistics().receivedFrames, 2);
    EXPECT_EQ(stopFailure(*capture), Kind::notRecording);
}

TEST_F(DesktopStreamCaptureTest, RefusesWhatItCannotRecord) {
    const auto capture = makeCapture();
    options.audio.includeSystemAudio = true;
    EXPECT_EQ(startFailure(*capture), Kind::systemAudioNotSupported);
    options.audio = {};
    options.target = RecordingTarget::display("041");
    EXPECT_EQ(startFailure(*capture), Kind::targetNotFound);
    desktop->canLoadContent = false;
    EXPECT_EQ(startFailure(*capture), Kind::permissionDenied);
    EXPECT_EQ(log->text(), "");
}

TEST_F(DesktopStreamCaptureTest, BringsACameraThatMayFailWhereThatIsAllowed) {
    useSideCaptures();
    const ScreenCaptureResult whole = take();
    EXPECT_EQ(log->text(), "mic.start camera.start start stop removeOutput mic.stop camera.stop");
    EXPECT_EQ(whole.optionalAudio.at(AudioTrackDescriptor::Kind::microphone), "mic.m4a");
    EXPECT_EQ(whole.cameraTrack->mediaURL, "camera.mov");
    useSideCaptures(Failing::nothing, Failing::start);
    EXPECT_EQ(take().warnings, Warnings{"camera_unavailable:Unable to add camera input to capture session."});
    useSideCaptures(Failing::nothing, Failing::stop);
    const ScreenCaptureResult result = take();
    EXPECT_EQ(result.warnings, Warnings{"camera_stop_failed:Camera recording output file is missing."});
    EXPECT_FALSE(result.cameraTrack);
    services.cameraPermissions = std::make_shared<FixedPermission>(false);
    EXPECT_EQ(take().warnings, Warnings{"camera_permission_denied"});

    options.camera.allowFailureFallbackToScreenOnly = false;
    EXPECT_EQ(startFailure(*makeCapture()), Kind::cameraPermissionDenied);
    EXPECT_TRUE(log->text().ends_with("mic.start mic.cancel")) << log->text();
    services.cameraPermissions = nullptr;
    services.cameraCaptureFactory = nullptr;
    EXPECT_EQ(startFailure(*makeCapture()), Kind::cameraStartFailed);
}

TEST_F(DesktopStreamCaptureTest, AMicrophoneThatFailsEndsTheStartOrTheStop) {
    useSideCaptures(Failing::start);
    EXPECT_EQ(startFailure(*makeCapture()), Kind::microphoneStartFailed);
    EXPECT_EQ(sentence, "Unable to start microphone capture: Unable to start microphone recording.");
    useSideCaptures(Failing::stop);
    const auto capture = makeCapture();
    capture->start(options, {});
    EXPECT_EQ(stopFailure(*capture), Kind::microphoneStopFailed);
    EXPECT_TRUE(log->text().ends_with("mic.stop camera.cancel")) << log->text();
    std::stop_source cancelled;
    cancelled.request_stop();
    capture->start(options, {});
    EXPECT_THROW(static_cast<void>(capture->stop(cancelled.get_token())), CancellationError);
    capture->start(options, {});
    services.microphonePermissions = std::make_shared<FixedPermission>(false);
    EXPECT_EQ(startFailure(*makeCapture()), Kind::microphonePermissionDenied);
}

TEST_F(DesktopStreamCaptureTest, AStartThatFailsLeavesNothingBehind) {
    const FakeStreamScript::Step cases[] = {
        [](auto&, auto&) { throw Error("The display has gone."); },
        [](ScreenStreamOutput& output, auto&) {
            output.didOutput(desktopPicture(60));
            std::this_thread::sleep_for(20ms);
            throw Error("The display has gone.");
        },
        [](ScreenStreamOutput& output, auto&) { output.didStop(displayGone); },
        [](ScreenStreamOutput& output, const std::stop_token& stop) {
            output.didStop(displayGone);
            untilStopped(output, stop);
        },
    };
    const auto capture = makeCapture();
    for (const auto& onStart : cases) {
        desktop->script.onStart = onStart;
        EXPECT_EQ(startFailure(*capture), Kind::captureStartFailed);
        EXPECT_EQ(sentence, "Unable to start screen capture: The display has gone.");
        EXPECT_TRUE(folder.names().empty());
        EXPECT_TRUE(log->text().ends_with("start removeOutput stop")) << log->text();
    }
}

TEST_F(DesktopStreamCaptureTest, SoundFollowsTheFirstPictureAndEndsWithThePictures) {
    options.audio.includeSystemAudio = true;
    FakeStreamScript sound{.onStart = nullptr};
    services.systemAudioStreamFactory = [&](const auto&, auto output) {
        return std::make_unique<FakeStream>(log, sound, std::move(output), "sound.");
    };
    const auto capture = makeCapture();
    desktop->script.onStart = nullptr; // the picture comes later
    std::jthread starting([&] { capture->start(options, {}); });
    while (log->text() != "start") {
        std::this_thread::sleep_for(1ms);
    }
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(log->text(), "start");
    desktop->output.lock()->didOutput(desktopPicture(60));
    starting.join();
    desktop->script = {};
    desktop->script.onStop = sound.onStart = [](auto&, auto&) {
        throw Error("The server has gone.");
    };
    EXPECT_FALSE(capture->stop({}).screenSourceURL.empty());
    EXPECT_EQ(log->text(), "start sound.start stop sound.stop removeOutput sound.removeOutput");

    EXPECT_EQ(startFailure(*capture), Kind::captureStartFailed);
    EXPECT_TRUE(log->text().ends_with("sound.removeOutput sound.stop")) << log->text();
    sound.onStart = nullptr;
    capture->start(options, {});
    EXPECT_EQ(stopFailure(*capture), Kind::captureStopFailed);
    EXPECT_TRUE(log->text().ends_with("stop sound.stop removeOutput stop sound.removeOutput sound.stop"));
}

TEST_F(DesktopStreamCaptureTest, CancelDuringAStopTakesTheTakeAway) {
    desktop->script.onStop = [hang = hanging(), isFirst = std::make_shared<std::atomic<bool>>(true)](auto&,
                                                                                                     auto&) {
        if (isFirst->exchange(false)) {
            hang();
        }
    };
    const auto capture = makeCapture();
    capture->start(options, {});
    std::jthread stopping([&] { EXPECT_THROW(static_cast<void>(capture->stop({})), CancellationError); });
    while (log->text() != "start stop") {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(startFailure(*capture), Kind::alreadyRecording);
    capture->cancelRecording({});
    desktop->script.onStop = nullptr;
    capture->start(options, {});
    gate->open();
    stopping.join();
    EXPECT_FALSE(framesOf(capture->stop({}).screenSourceURL).empty());
}

TEST_F(DesktopStreamCaptureTest, AStopThatFailsEndsTheTakeUnlessTheDisplayHasGone) {
    useSideCaptures();
    desktop->script.onStop = [](auto&, auto&) {
        throw Error("broken pipe");
    };
    const auto capture = makeCapture();
    capture->start(options, {});
    EXPECT_EQ(stopFailure(*capture), Kind::captureStopFailed);
    EXPECT_EQ(sentence, "Unable to stop screen capture: broken pipe");
    EXPECT_TRUE(log->text().ends_with("mic.cancel camera.cancel")) << log->text();

    capture->start(options, {});
    desktop->output.lock()->didStop(displayGone);
    const ScreenCaptureResult result = capture->stop({});
    EXPECT_EQ(result.warnings, Warnings{"screen_stream_stopped:The display has gone."});
    EXPECT_FALSE(framesOf(result.screenSourceURL).empty());
}

TEST_F(DesktopStreamCaptureTest, AStartThatHangsIsLeftBehind) {
    desktop->script.onStart = hanging();
    const auto capture = makeCapture();
    std::jthread starting([&] { EXPECT_THROW(capture->start(options, {}), CancellationError); });
    while (log->text() != "start") {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(startFailure(*capture), Kind::alreadyRecording);
    capture->cancelRecording({});
    desktop->script = {};
    capture->start(options, {});
    gate->open();
    starting.join();
    EXPECT_FALSE(framesOf(capture->stop({}).screenSourceURL).empty());
}

} // namespace
} // namespace tavrin
