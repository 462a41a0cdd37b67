#include <atomic>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "CaptureFixtures.h"
#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/CapturePackageAssembler.h"
#include "TavrinKit/Capture/MockScreenStreamCapture.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using test::Gate;
using test::TemporaryFolder;
using Kind = AudioTrackDescriptor::Kind;

/// A capture of which each step can be made to fail or hang, and that takes down what is asked of it.
class ScriptedCapture : public ScreenStreamCapture {
public:
    using Step = std::function<void(std::stop_token)>;
    Step onStart, onStop, onCancel;
    ScreenCaptureResult result;

    void start(const CaptureOptions&, std::stop_token stop) override { run("start", onStart, stop); }
    ScreenCaptureResult stop(std::stop_token stop) override {
        run("stop", onStop, stop);
        return result;
    }
    void cancelRecording(std::stop_token stop) override { run("cancel", onCancel, stop); }
    std::string calls() const { return calls_.copy(); }

private:
    void run(const char* name, const Step& step, const std::stop_token& stop) {
        calls_.with([&](std::string& calls) { calls += std::string(name) + " "; });
        if (step) {
            step(stop);
        }
    }
    Guarded<std::string> calls_;
};

class CaptureCoordinatorTest : public ::testing::Test {
protected:
    CaptureCoordinatorTest() {
        options.target = RecordingTarget::display("main");
        writeFileAtomically(movie, "movie");
        capture->result.screenSourceURL = movie;
    }

    std::filesystem::path file(const std::string& name, const std::string& contents) {
        writeFileAtomically(folder / name, contents);
        return folder / name;
    }
    CaptureCoordinator coordinatorOver(std::shared_ptr<ScreenStreamCapture> over, double patience = 20) {
        return {std::move(over), recorder, patience, patience};
    }
    ProjectPackage record() {
        auto coordinator = coordinatorOver(capture);
        coordinator.startRecording(project, options);
        return coordinator.stopRecording({});
    }

    TemporaryFolder folder;
    std::filesystem::path project = folder / "session";
    std::filesystem::path movie = folder / "capture.mov";
    CaptureOptions options;
    std::shared_ptr<InputEventRecorder> recorder = std::make_shared<InputEventRecorder>();
    std::shared_ptr<ScriptedCapture> capture = std::make_shared<ScriptedCapture>();
};

CaptureCoordinatorErrorKind coordinatorError(const std::function<void()>& call) {
    return test::failureOf<CaptureCoordinatorError>(call).kind();
}

TEST_F(CaptureCoordinatorTest, WritesAPackageThatOpens) {
    MockScreenStreamCapture::Configuration take;
    take.fixtureURL = movie;
    take.startTime = 5000;
    take.endTime = 5010;
    auto coordinator = coordinatorOver(std::make_shared<MockScreenStreamCapture>(take));
    options.excludeCursorFromSource = true;
    options.mappingContext = CaptureCoordinateMappingContext{Rect{0, 0, 200, 100}, {}};
    coordinator.recordMouseMove(4999, 10, 10);
    coordinator.startRecording(project, options);
    EXPECT_FALSE(std::filesystem::exists(project));
    coordinator.recordMouseClick(5002, 50, 75, 0);
    coordinator.recordKeyPress(5003, "\na", {KeyModifier::shift}, KeyEventContentKind::printable, false);
    coordinator.recordMouseMove(5004, 1000, 10);
    EditsDocument edits;
    edits.audioRouting.normalizeBeforeMix = true;
    const ProjectPackage written = coordinator.stopRecording(edits);
    EXPECT_FALSE(coordinator.activeSession());

    const ProjectPackage package = ProjectPackage::load(project);
    EXPECT_EQ(package.manifest(), written.manifest());
    EXPECT_TRUE(package.manifest().cursorExcluded);
    EXPECT_EQ(package.manifest().schemaVersion, 2);
    const EventTimeline events = package.loadEvents();
    ASSERT_EQ(events.mouseEvents().size(), 1u);
    EXPECT_EQ(events.mouseEvents()[0], (MouseEvent{2, {0.25, 0.75}, MouseEventKind::clicked, 0}));
    ASSERT_EQ(events.keyEvents().size(), 1u);
    EXPECT_EQ(package.loadEdits(), edits);
    EXPECT_EQ(readFile(package.screenURL()), "movie");
    EXPECT_TRUE(std::filesystem::exists(movie));
}

TEST_F(CaptureCoordinatorTest, PlacesTheSoundThatWasAskedFor) {
    capture->result.optionalAudio = {{Kind::system, file("a", "system")},
                                     {Kind::microphone, file("b", "mic")}};
    options.audio = {true, true};
    EXPECT_EQ(record().manifest().audioTracks,
              (std::vector<AudioTrackDescriptor>{{Kind::microphone, "mic_audio.m4a"},
                                                 {Kind::system, "system_audio.m4a"}}));
    EXPECT_EQ(readFile(project / "mic_audio.m4a"), "mic");

    options.audio = {false, true};
    project = folder / "second";
    EXPECT_EQ(record().manifest().audioTracks.size(), 1u);
    EXPECT_FALSE(std::filesystem::exists(project / "system_audio.m4a"));
}

TEST_F(CaptureCoordinatorTest, TurnsThePictureInPictureOnForACameraThatWasAskedFor) {
    capture->result.startedAt = 1000;
    capture->result.endedAt = 1100;
    capture->result.cameraTrack = CameraCaptureTrackResult{file("c", "camera"), 1000.25, 1100.75};
    EXPECT_TRUE(record().manifest().cameraTracks.empty());
    EXPECT_FALSE(ProjectPackage::load(project).loadEdits().timeline.cameraPiPTrack.style.enabled);

    options.camera.includeCamera = true;
    project = folder / "second";
    const ProjectManifest manifest = record().manifest();
    ASSERT_EQ(manifest.cameraTracks.size(), 1u);
    EXPECT_NEAR(manifest.cameraTracks[0].timebaseOffsetSeconds, 0.25, 1e-9);
    EXPECT_NEAR(manifest.cameraTracks[0].driftMillisecondsPerHour, 18000, 1e-6);
    EXPECT_TRUE(ProjectPackage::load(project).loadEdits().timeline.cameraPiPTrack.style.enabled);
    EXPECT_EQ(readFile(project / "camera.mov"), "camera");
}

TEST_F(CaptureCoordinatorTest, AHangingStartTimesOutAlthoughItsCancelHangsToo) {
    auto coordinator = coordinatorOver(capture, 0.1);
    const auto gate = std::make_shared<Gate>();
    const auto sawStop = std::make_shared<std::atomic<bool>>(false);
    capture->onStart = [gate, sawStop](const std::stop_token& stop) {
        try {
            sleepFor(std::chrono::hours(1), stop);
        } catch (const CancellationError&) {
            *sawStop = true;
        }
        gate->wait();
    };
    capture->onCancel = [gate](auto) {
        gate->wait();
    };
    const auto failure =
        test::failureOf<CaptureCoordinatorError>([&] { coordinator.startRecording(project, options); });
    EXPECT_STREQ(failure.what(), "Recording start timed out after 0.1 seconds.");
    while (!*sawStop) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    gate->open();
    recorder->recordMove(1, {});
    EXPECT_TRUE(recorder->stop().isEmpty());
}

TEST_F(CaptureCoordinatorTest, AStopThatFailsOrHangsEndsTheTake) {
    auto coordinator = coordinatorOver(capture, 0.5);
    const auto gate = std::make_shared<Gate>();
    const auto stop = [&] {
        static_cast<void>(coordinator.stopRecording({}));
    };

    EXPECT_EQ(coordinatorError(stop), CaptureCoordinatorErrorKind::noActiveSession);
    coordinator.startRecording(project, options);
    EXPECT_EQ(coordinatorError([&] { coordinator.startRecording(project, options); }),
              CaptureCoordinatorErrorKind::alreadyRecording);
    capture->onStop = [](auto) {
        throw Error("broken");
    };
    EXPECT_THROW(stop(), Error);
    EXPECT_FALSE(coordinator.activeSession());
    EXPECT_FALSE(recorder->isRecording());

    coordinator.startRecording(project, options);
    capture->onStop = [gate](auto) {
        gate->wait();
    };
    EXPECT_EQ(coordinatorError(stop), CaptureCoordinatorErrorKind::stopTimedOut);
    EXPECT_FALSE(std::filesystem::exists(project));
    EXPECT_EQ(capture->calls(), "start stop cancel start stop cancel ");
    gate->open();

    capture->onStop = nullptr;
    coordinator.startRecording(project, options);
    stop();
    EXPECT_TRUE(std::filesystem::exists(project / "manifest.json"));
}

TEST_F(CaptureCoordinatorTest, AFailureWhileThePackageIsWrittenEndsTheTakeWithoutACancel) {
    auto coordinator = coordinatorOver(capture);
    capture->result.screenSourceURL = folder / "gone.mov";
    coordinator.startRecording(project, options);
    EXPECT_THROW(static_cast<void>(coordinator.stopRecording({})), FileError);
    EXPECT_FALSE(coordinator.activeSession());
    EXPECT_TRUE(std::filesystem::is_directory(project));
    EXPECT_EQ(capture->calls(), "start stop ");
}

} // namespace
} // namespace tavrin
