#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "CaptureFixtures.h"
#include "FakeDesktop.h"
#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Capture/DesktopCaptureBridge.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using namespace test;
using Kind = DesktopStreamCaptureErrorKind;

const std::exception_ptr displayGone = std::make_exception_ptr(Error("The display has gone."));

void untilStopped(ScreenStreamOutput&, const std::stop_token& stop) {
    sleepFor(1h, stop);
}

class DesktopStreamCaptureTest : public ::testing::Test {
protected:
    DesktopStreamCaptureTest() {
        options.target = RecordingTarget::display("main");
        options.applicationExclusionRule = {};
        services.backend = desktop;
    }
    ~DesktopStreamCaptureTest() override { letGo(); }

    std::shared_ptr<DesktopStreamCapture> makeCapture() {
        return std::make_shared<DesktopStreamCapture>(services, folder.path(),
                                                      CaptureApplicationExclusionRule{{"org.own"}, {}});
    }
    /// A step that hangs, whatever it is asked, until the test ends.
    auto hanging() {
        return [gate = gate_](auto&&...) {
            std::unique_lock lock(gate->mutex);
            gate->opened.wait(lock, [&] { return gate->isOpen; });
        };
    }
    void letGo() {
        const std::lock_guard lock(gate_->mutex);
        gate_->isOpen = true;
        gate_->opened.notify_all();
    }
    Kind startFailure(DesktopStreamCapture& capture) {
        return failureOf([&] { capture.start(options, {}); });
    }
    template <typename Function>
    Kind failureOf(Function function) {
        try {
            function();
        } catch (const DesktopStreamCaptureError& error) {
            sentence = error.what();
            return error.kind();
        }
        throw std::logic_error("no failure");
    }
    void useSideCaptures(std::function<void(FakeMicrophone&)> microphone = {},
                         std::function<void(FakeCamera&)> camera = {}) {
        options.audio.includeMicrophone = true;
        options.camera.includeCamera = true;
        services.microphoneCaptureFactory = [this, microphone](const auto& url) {
            auto made = std::make_shared<FakeMicrophone>(log, url);
            if (microphone) {
                microphone(*made);
            }
            return made;
        };
        services.cameraCaptureFactory = [this, camera](const auto& url) {
            auto made = std::make_shared<FakeCamera>(log, url);
            if (camera) {
                camera(*made);
            }
            return made;
        };
    }

    TemporaryDirectory folder;
    std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    std::shared_ptr<FakeDesktop> desktop = std::make_shared<FakeDesktop>(log);
    DesktopStreamCapture::Services services;
    CaptureOptions options;
    std::string sentence;

private:
    struct Gate {
        std::mutex mutex;
        std::condition_variable opened;
        bool isOpen = false;
    };
    std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
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
    EXPECT_EQ(result.warnings, std::vector<std::string>{"frames_dropped:3"});
    EXPECT_TRUE(result.optionalAudio.empty());
    const auto frames = framesOf(result.screenSourceURL);
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_NEAR(frames[0].luma, 60, 3);
    EXPECT_NEAR(frames[2].luma, 200, 3);
    EXPECT_NEAR(probeMedia(result.screenSourceURL).video.at(0).duration, result.duration(), 2e-3);
    EXPECT_TRUE(result.screenSourceURL.filename().string().starts_with("screen-capture-"));
    EXPECT_EQ(log->text(), "start stop removeOutput");
    EXPECT_TRUE(desktop->output.expired());
    EXPECT_EQ(capture->statistics().receivedFrames, 2);
    EXPECT_EQ(capture->statistics().droppedFrames, 3);
    EXPECT_EQ(failureOf([&] { static_cast<void>(capture->stop({})); }), Kind::notRecording);
}

TEST_F(DesktopStreamCaptureTest, AsksTheServerForTheRightPictures) {
    options.excludeCursorFromSource = true;
    options.applicationExclusionRule = {{}, {300}};
    const auto capture = makeCapture();
    capture->start(options, {});
    const auto& display = std::get<ContentFilter::Display>(desktop->filter.content);
    EXPECT_EQ(display.displayID, 41u); // the first of the list, not the main one
    ASSERT_EQ(display.excludedApplications.size(), 2u);
    EXPECT_EQ(display.excludedApplications[0].name, "own");
    EXPECT_EQ(display.excludedApplications[1].name, "third");
    EXPECT_EQ(desktop->configuration.width, 64);
    EXPECT_FALSE(desktop->configuration.showsCursor);
    EXPECT_FALSE(desktop->configuration.scalesToFit);
    EXPECT_EQ(desktop->configuration.queueDepth, 4);
    capture->cancelRecording({});

    options.target = RecordingTarget::display("7");
    desktop->script.onStart = [](ScreenStreamOutput& output, const auto&) {
        output.didOutput(videoSample(greyPicture({32, 2}, 60), HostClock::now()));
    };
    capture->start(options, {});
    EXPECT_EQ(desktop->configuration.width, 32); // 33 by 1: an encoder takes even sizes
    EXPECT_EQ(desktop->configuration.height, 2);
    EXPECT_EQ(framesOf(capture->stop({}).screenSourceURL).at(0).time, 0);
}

TEST_F(DesktopStreamCaptureTest, RefusesWhatItCannotRecord) {
    const struct {
        RecordingTarget target;
        bool sound;
        Kind kind;
        std::string sentence;
    } cases[] = {
        {RecordingTarget::display("40"), false, Kind::targetNotFound, "Unable to find capture target: 40."},
        {RecordingTarget::display("041"), false, Kind::targetNotFound, "Unable to find capture target: 041."},
        {RecordingTarget::window("1"), false, Kind::targetNotSupported,
         "Recording a window is not supported yet."},
        {RecordingTarget::area("41", {0, 0, 9, 9}), false, Kind::targetNotSupported,
         "Recording an area is not supported yet."},
        {RecordingTarget::display("41"), true, Kind::systemAudioNotSupported,
         "Recording system audio is not supported here."},
    };
    const auto capture = makeCapture();
    for (const auto& row : cases) {
        options.target = row.target;
        options.audio.includeSystemAudio = row.sound;
        EXPECT_EQ(startFailure(*capture), row.kind);
        EXPECT_EQ(sentence, row.sentence);
    }
    EXPECT_EQ(log->text(), "");
}

TEST_F(DesktopStreamCaptureTest, PermissionsComeFirst) {
    const auto no = std::make_shared<FakePermission>(false);
    useSideCaptures();
    services.permissions = no;
    EXPECT_EQ(startFailure(*makeCapture()), Kind::permissionDenied);
    services.permissions = nullptr;
    services.microphonePermissions = no;
    EXPECT_EQ(startFailure(*makeCapture()), Kind::microphonePermissionDenied);
    EXPECT_EQ(log->text(), "");
    services.microphonePermissions = nullptr;
    services.cameraPermissions = no;
    options.camera.allowFailureFallbackToScreenOnly = false;
    EXPECT_EQ(startFailure(*makeCapture()), Kind::cameraPermissionDenied);
    EXPECT_EQ(log->text(), "mic.start mic.cancel");
}

TEST_F(DesktopStreamCaptureTest, ASystemPermissionIsTriedThenAskedFor) {
    const auto answer = [&] {
        return SystemScreenCapturePermissionProvider(desktop).requestAccessIfNeeded({});
    };
    desktop->isKnownToGrant = false;
    EXPECT_TRUE(answer()) << "content can be loaded";
    EXPECT_EQ(log->text(), "");
    desktop->onContent = [] {
        throw Error("refused");
    };
    EXPECT_FALSE(answer());
    desktop->grantsWhenAsked = true;
    EXPECT_TRUE(answer());
    EXPECT_EQ(log->text(), "ask ask");
}

TEST_F(DesktopStreamCaptureTest, BringsTheSideCapturesAlong) {
    useSideCaptures();
    const auto capture = makeCapture();
    capture->start(options, {});
    const ScreenCaptureResult result = capture->stop({});
    EXPECT_EQ(log->text(), "mic.start camera.start start stop removeOutput mic.stop camera.stop");
    EXPECT_EQ(result.optionalAudio.count(AudioTrackDescriptor::Kind::microphone), 1u);
    ASSERT_TRUE(result.cameraTrack);
    EXPECT_EQ(result.cameraTrack->mediaURL.extension(), ".mov");
}

TEST_F(DesktopStreamCaptureTest, ACameraMayFailWhereThatIsAllowed) {
    const struct {
        bool mayFail;
        std::function<void(FakeCamera&)> camera;
        std::vector<std::string> warnings;
    } cases[] = {
        {true,
         [](FakeCamera& camera) { camera.failsToStart = true; },
         {"camera_unavailable:Unable to add camera input to capture session."}},
        {true,
         [](FakeCamera& camera) { camera.failsToStop = true; },
         {"camera_stop_failed:Camera recording output file is missing."}},
        {false, [](FakeCamera& camera) { camera.failsToStart = true; }, {}},
    };
    for (const auto& row : cases) {
        useSideCaptures({}, row.camera);
        options.camera.allowFailureFallbackToScreenOnly = row.mayFail;
        const auto capture = makeCapture();
        if (!row.mayFail) {
            EXPECT_EQ(startFailure(*capture), Kind::cameraStartFailed);
            EXPECT_TRUE(log->text().ends_with("mic.cancel camera.cancel")) << log->text();
            continue;
        }
        capture->start(options, {});
        const ScreenCaptureResult result = capture->stop({});
        EXPECT_EQ(result.warnings, row.warnings);
        EXPECT_FALSE(result.cameraTrack);
    }
    services.cameraPermissions = std::make_shared<FakePermission>(false);
    options.camera.allowFailureFallbackToScreenOnly = true;
    const auto capture = makeCapture();
    capture->start(options, {});
    EXPECT_EQ(capture->stop({}).warnings, std::vector<std::string>{"camera_permission_denied"});
}

TEST_F(DesktopStreamCaptureTest, AMicrophoneThatFailsEndsTheStartOrTheStop) {
    useSideCaptures([](FakeMicrophone& microphone) { microphone.failsToStart = true; });
    EXPECT_EQ(startFailure(*makeCapture()), Kind::microphoneStartFailed);
    EXPECT_EQ(sentence, "Unable to start microphone capture: Unable to start microphone recording.");

    useSideCaptures([](FakeMicrophone& microphone) { microphone.failsToStop = true; });
    const auto capture = makeCapture();
    capture->start(options, {});
    EXPECT_EQ(failureOf([&] { static_cast<void>(capture->stop({})); }), Kind::microphoneStopFailed);
    EXPECT_TRUE(log->text().ends_with("mic.stop camera.cancel")) << log->text();
    capture->start(options, {});

    services.microphoneCaptureFactory = nullptr;
    EXPECT_EQ(startFailure(*makeCapture()), Kind::microphoneStartFailed);
}

TEST_F(DesktopStreamCaptureTest, AStartThatFailsLeavesNothingBehind) {
    const struct {
        const char* name;
        std::function<void(ScreenStreamOutput&, const std::stop_token&)> onStart;
    } cases[] = {
        {"start fails",
         [](auto&, auto&) {
             throw Error("The display has gone.");
         }},
        {"start fails after a picture",
         [](ScreenStreamOutput& output, auto&) {
             output.didOutput(desktopPicture(60));
             std::this_thread::sleep_for(20ms);
             throw Error("The display has gone.");
         }},
        {"stream stops before its first picture",
         [](ScreenStreamOutput& output, auto&) {
             output.didStop(displayGone);
         }},
        {"stream stops, start hangs until it is told",
         [](ScreenStreamOutput& output, const std::stop_token& stop) {
             output.didStop(displayGone);
             untilStopped(output, stop);
         }},
    };
    const auto capture = makeCapture();
    for (const auto& row : cases) {
        desktop->script.onStart = row.onStart;
        EXPECT_EQ(startFailure(*capture), Kind::captureStartFailed) << row.name;
        EXPECT_EQ(sentence, "Unable to start screen capture: The display has gone.") << row.name;
        EXPECT_TRUE(folder.entries().empty()) << row.name;
        EXPECT_TRUE(log->text().ends_with("start removeOutput stop")) << row.name << log->text();
    }
}

TEST_F(DesktopStreamCaptureTest, AFolderThatCannotBeMadeFailsTheStart) {
    services.backend = desktop;
    DesktopStreamCapture capture(services, std::filesystem::path("/proc/none/here"));
    EXPECT_THROW(capture.start(options, {}), FileError);
    EXPECT_EQ(log->text(), "");
}

TEST_F(DesktopStreamCaptureTest, AServerThatHangsIsLeftToItself) {
    desktop->onContent = hanging();
    try {
        static_cast<void>(DesktopCaptureBridge(desktop).shareableContent({true, true, 0.05}, {}));
        ADD_FAILURE();
    } catch (const DesktopCaptureBridgeError& error) {
        EXPECT_STREQ(error.what(), "Loading shareable capture content timed out after 0.1 seconds.");
    }
}

TEST_F(DesktopStreamCaptureTest, CancelEndsAStartAndWaitsForItsCleanUp) {
    desktop->script.onStart = untilStopped;
    const auto capture = makeCapture();
    std::exception_ptr failure;
    std::jthread starting([&] {
        try {
            capture->start(options, {});
        } catch (...) {
            failure = std::current_exception();
        }
    });
    while (log->text() != "start") {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(startFailure(*capture), Kind::alreadyRecording);
    capture->cancelRecording({});
    EXPECT_EQ(log->text(), "start removeOutput stop");
    starting.join();
    EXPECT_TRUE(isCancellation(failure));
}

TEST_F(DesktopStreamCaptureTest, CancelEndsATakeAndKeepsItsFile) {
    useSideCaptures();
    const auto capture = makeCapture();
    capture->cancelRecording({});
    capture->start(options, {});
    while (folder.entries().empty()) {
        std::this_thread::sleep_for(1ms);
    }
    waitForFrames(folder / folder.entries()[0]);
    capture->cancelRecording({});
    EXPECT_TRUE(log->text().ends_with("mic.cancel camera.cancel removeOutput stop")) << log->text();
    ASSERT_EQ(folder.entries().size(), 1u);
    EXPECT_FALSE(framesOf(folder / folder.entries()[0]).empty());
    EXPECT_EQ(failureOf([&] { static_cast<void>(capture->stop({})); }), Kind::notRecording);
    EXPECT_EQ(capture->statistics().receivedFrames, 1);
}

TEST_F(DesktopStreamCaptureTest, CancelDuringAStopTakesTheTakeAway) {
    desktop->script.onStop = [](ScreenStreamOutput&, const std::stop_token& stop) {
        try {
            sleepFor(300ms, stop); // ends well, but late
        } catch (const CancellationError&) {
        }
    };
    const auto capture = makeCapture();
    capture->start(options, {});
    std::exception_ptr failure;
    std::jthread stopping([&] {
        try {
            static_cast<void>(capture->stop({}));
        } catch (...) {
            failure = std::current_exception();
        }
    });
    while (log->text() != "start stop") {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(startFailure(*capture), Kind::alreadyRecording);
    capture->cancelRecording({});
    desktop->script.onStop = nullptr;
    capture->start(options, {});
    stopping.join();
    EXPECT_TRUE(isCancellation(failure));
    EXPECT_FALSE(framesOf(capture->stop({}).screenSourceURL).empty());
}

TEST_F(DesktopStreamCaptureTest, AStopThatFailsEndsTheTake) {
    useSideCaptures();
    desktop->script.onStop = [](auto&, auto&) {
        throw Error("broken pipe");
    };
    const auto capture = makeCapture();
    capture->start(options, {});
    EXPECT_EQ(failureOf([&] { static_cast<void>(capture->stop({})); }), Kind::captureStopFailed);
    EXPECT_EQ(sentence, "Unable to stop screen capture: broken pipe");
    EXPECT_NE(log->text().find("mic.cancel camera.cancel"), std::string::npos);
    desktop->script.onStop = nullptr;
    capture->start(options, {});
    static_cast<void>(capture->stop({}));
}

TEST_F(DesktopStreamCaptureTest, ADisplayThatVanishesCostsNothingOfTheTake) {
    desktop->script.onStop = [](auto&, auto&) {
        throw Error("no such display");
    };
    const auto capture = makeCapture();
    capture->start(options, {});
    desktop->output.lock()->didStop(displayGone);
    std::this_thread::sleep_for(50ms);
    const ScreenCaptureResult result = capture->stop({});
    EXPECT_EQ(result.warnings, std::vector<std::string>{"screen_stream_stopped:The display has gone."});
    EXPECT_FALSE(framesOf(result.screenSourceURL).empty());
}

TEST_F(DesktopStreamCaptureTest, AStreamWithoutAPictureGivesABlackMovie) {
    desktop->script.onStart = [](ScreenStreamOutput& output, const auto&) {
        VideoSample idle;
        idle.status = FrameStatus::idle;
        idle.presentationTime = HostClock::now();
        output.didOutput(std::move(idle));
    };
    const auto capture = makeCapture();
    capture->start(options, {});
    const ScreenCaptureResult result = capture->stop({});
    EXPECT_NEAR(framesOf(result.screenSourceURL).at(0).luma, 16, 2);
    EXPECT_GE(result.duration(), 0);
}

TEST_F(DesktopStreamCaptureTest, ACoordinatorRecoversFromStreamsThatHang) {
    CaptureCoordinator coordinator(makeCapture(), std::make_shared<InputEventRecorder>(), 0.2, 0.2);
    const auto expectTimeOut = [](auto function, CaptureCoordinatorErrorKind kind) {
        try {
            function();
            ADD_FAILURE();
        } catch (const CaptureCoordinatorError& error) {
            EXPECT_EQ(error.kind(), kind);
        }
    };
    const auto start = [&] {
        coordinator.startRecording(folder / "project", options);
    };
    const auto stop = [&] {
        static_cast<void>(coordinator.stopRecording({}));
    };
    const FakeStreamScript good = desktop->script;

    desktop->script.onStart = nullptr; // never a picture
    expectTimeOut(start, CaptureCoordinatorErrorKind::startTimedOut);
    EXPECT_TRUE(folder.entries().empty());
    EXPECT_EQ(log->text(), "start removeOutput stop");

    desktop->script.onStart = hanging(); // deaf to all requests
    expectTimeOut(start, CaptureCoordinatorErrorKind::startTimedOut);

    desktop->script = good;
    desktop->script.onStop = hanging();
    start();
    expectTimeOut(stop, CaptureCoordinatorErrorKind::stopTimedOut);
    EXPECT_FALSE(std::filesystem::exists(folder / "project"));

    desktop->script = good;
    start();
    stop();
    EXPECT_FALSE(framesOf(folder / "project" / "screen.mov").empty());
}

} // namespace
} // namespace tavrin
