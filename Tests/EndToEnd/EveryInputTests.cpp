#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>
#include <xcb/res.h>
#include <xcb/xcb.h>

#include "Examples/Walkthrough/ScreenTake.h"
#include "Fixtures/Child.h"
#include "Fixtures/PulseServer.h"
#include "Fixtures/TemporaryFolder.h"
#include "PlainWindow.h"
#include "TavrinKit/Capture/CaptureSyncValidator.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Platform/Desktop/DesktopPlatform.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCatalog.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Support/Error.h"
#include "TestDesktop.h"

namespace tavrin::test {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::size_t entriesOf(const fs::path& folder) {
    return std::size_t(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

/// What the take could leave behind in this process, in the system and in the X server.
struct Holdings {
    std::map<std::string, std::size_t> counts;

    explicit Holdings(const X11Connection& observer) {
        counts["descriptors"] = entriesOf("/proc/self/fd");
        counts["threads"] = entriesOf("/proc/self/task");
        std::ifstream segments("/proc/sysvipc/shm");
        for (std::string line; std::getline(segments, line);) {
            counts["shared memory segments"] += 1;
        }
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);) {
            counts["shared mappings"] += line.find(" rw-s ") != std::string::npos ? 1U : 0U;
        }
        xcb_connection_t* xcb = observer.xcb();
        const X11Owned<xcb_res_query_clients_reply_t> clients(
            xcb_res_query_clients_reply(xcb, xcb_res_query_clients(xcb), nullptr));
        counts["clients of the server"] = std::size_t(xcb_res_query_clients_clients_length(clients.get()));
        for (auto client = xcb_res_query_clients_clients_iterator(clients.get()); client.rem > 0;
             xcb_res_client_next(&client)) {
            const X11Owned<xcb_res_query_client_resources_reply_t> resources(
                xcb_res_query_client_resources_reply(
                    xcb, xcb_res_query_client_resources(xcb, client.data->resource_base), nullptr));
            for (auto type = xcb_res_query_client_resources_types_iterator(resources.get()); type.rem > 0;
                 xcb_res_type_next(&type)) {
                counts["server: " + observer.atomName(type.data->resource_type)] += type.data->count;
            }
        }
    }

    /// What there is more of than before; empty when nothing is.
    [[nodiscard]] std::string moreThan(const Holdings& before) const {
        std::string text;
        for (const auto& [name, count] : counts) {
            const auto earlier = before.counts.find(name);
            const std::size_t had = earlier == before.counts.end() ? 0 : earlier->second;
            text += count > had ? fmt::format("{} {} -> {}; ", name, had, count) : "";
        }
        return text;
    }
};

CaptureOptions everything(RecordingTarget target) {
    CaptureOptions options;
    options.target = std::move(target);
    options.audio = {true, true};
    options.camera.includeCamera = true;
    options.camera.allowFailureFallbackToScreenOnly = false;
    return options;
}

/// Waits for the last of what ends by itself. @return what stays
std::string leftOver(const Holdings& before, const X11Connection& observer) {
    std::string more;
    for (const auto deadline = std::chrono::steady_clock::now() + 5s;
         !(more = Holdings(observer).moreThan(before)).empty() &&
         std::chrono::steady_clock::now() < deadline;) {
        std::this_thread::sleep_for(50ms);
    }
    return more;
}

} // namespace

/// With TAVRIN_EVERY_START set 200 of them.
TEST(EveryInput, StartsAndStopsLeaveNothingBehind) {
    const int rounds = std::getenv("TAVRIN_EVERY_START") != nullptr ? 200 : 24;
    const PrivateHome home;
    const PulseServer server(home, {"module-null-source source_name=desk"});
    const VirtualDisplay display;
    TestDesktop desktop(display.name());
    desktop.startFlicker();
    const PlainWindow window(display.name(), {300, 200, 640, 360}, 0x708090);
    window.show();
    const X11Connection observer(display.name());
    const TemporaryFolder folder;
    const DesktopPlatform platform =
        loadDesktopPlatform({.kind = DesktopPlatform::Kind::x11,
                             .display = display.name(),
                             .pulseServer = "unix:" + home.pulseSocket(),
                             .syntheticCameraID = "lavfi:testsrc2=size=320x240:rate=30"});
    DesktopStreamCapture capture(platform.captureServices(), folder.path(), {});
    const std::vector<RecordingTarget> targets = {RecordingTarget::window(std::to_string(window.id())),
                                                  RecordingTarget::area("main", {100, 100, 640, 480}),
                                                  RecordingTarget::display("main")};
    std::mt19937 random(5);
    const auto pause = [&random](int least, int most) {
        return std::chrono::milliseconds(std::uniform_int_distribution<int>(least, most)(random));
    };
    int stopped = 0;
    std::optional<Holdings> before; // after the first rounds: what libraries keep for good they have then
    for (int round = 0; round < rounds; ++round) {
        const bool isCancelled = round % 3 == 2;
        std::jthread canceller;
        if (isCancelled) {
            canceller = std::jthread([&capture, after = pause(0, 700)] {
                std::this_thread::sleep_for(after);
                capture.cancelRecording({});
            });
        }
        try {
            capture.start(everything(targets[std::size_t(round / 3) % targets.size()]), {});
            std::this_thread::sleep_for(pause(50, 250));
            const ScreenCaptureResult taken = capture.stop({});
            EXPECT_EQ(taken.optionalAudio.size(), 1U);
            ASSERT_TRUE(taken.cameraTrack);
            EXPECT_THAT(taken.warnings, testing::Each(testing::HasSubstr("frames_dropped")));
            EXPECT_NEAR(taken.cameraTrack->duration(), taken.duration(), 1e-3);
            EXPECT_EQ(entriesOf(folder.path()), 3U) << "round " << round;
            stopped += 1;
        } catch (const CancellationError&) {
            EXPECT_TRUE(isCancelled) << "round " << round;
        } catch (const DesktopStreamCaptureError& error) { // a stop that found its take gone
            EXPECT_TRUE(isCancelled) << "round " << round << ": " << describe(std::current_exception());
            EXPECT_EQ(error.kind(), DesktopStreamCaptureErrorKind::notRecording)
                << describe(std::current_exception());
        }
        canceller = {};
        capture.cancelRecording({});
        for (const auto& entry : fs::directory_iterator(folder.path())) {
            const std::string name = entry.path().filename().string();
            EXPECT_THAT(name, testing::AnyOf(testing::StartsWith("screen-capture-"),
                                             testing::StartsWith("mic-"), testing::StartsWith("camera-")));
            fs::remove(entry.path());
        }
        if (round == 5) {
            before.emplace(observer);
        }
    }
    EXPECT_GE(stopped, rounds / 2);
    EXPECT_EQ(leftOver(*before, observer), "");
}

TEST(EveryInput, TheValidatorTellsASoundTakeFromASpoiltOne) {
    const PrivateHome home;
    const PulseServer server(home, {"module-null-source source_name=desk"});
    const VirtualDisplay display;
    TestDesktop desktop(display.name());
    desktop.startFlicker();
    const TemporaryFolder folder;
    demo::ScreenTake take({.display = display.name(),
                           .outputDirectory = folder.path(),
                           .audio = {true, true},
                           .camera = {true, {}, true},
                           .syntheticCameraID = std::string(V4L2CameraCatalog::testPictureID)});
    take.start();
    std::this_thread::sleep_for(4s);
    take.finish();
    const demo::TakeFacts facts = take.facts();
    EXPECT_THAT(facts.validation, testing::StartsWith("PASS (screenSystemAudioMicrophone)"));
    EXPECT_THAT(facts.validation, testing::EndsWith("No issues."));

    const ProjectPackage whole = ProjectPackage::load(take.packagePath());
    ASSERT_EQ(whole.manifest().cameraTracks.size(), 1U);
    EXPECT_NEAR(whole.manifest().cameraTracks.front().timebaseOffsetSeconds, 0, 1e-6);
    EXPECT_NEAR(whole.manifest().cameraTracks.front().driftMillisecondsPerHour, 0, 80);
    EXPECT_GT(probeMedia(whole.cameraURL(whole.manifest().cameraTracks.front())).video.front().frameCount,
              30);

    CaptureOptions options;
    options.audio = {true, true};
    const fs::path screen = whole.screenURL();
    const fs::path microphone = whole.audioURL(whole.manifest().audioTracks.front());
    const fs::path camera = whole.cameraURL(whole.manifest().cameraTracks.front());
    const auto summaryOf = [&](const std::function<void(ProjectPackage&)>& spoil) {
        const fs::path copy = folder / "spoilt";
        fs::remove_all(copy);
        fs::copy(whole.rootURL(), copy, fs::copy_options::recursive);
        ProjectPackage package(copy, whole.manifest());
        spoil(package);
        return CaptureSyncValidator().validate(package, options).summary();
    };
    const auto replaceBy = [](const fs::path& file, const fs::path& other, const std::string& arguments) {
        const Child::Ending ending = Child({"/bin/sh", "-c",
                                            fmt::format("ffmpeg -v error -y {} -i '{}' -c copy '{}'",
                                                        arguments, other.string(), file.string())})
                                         .wait();
        EXPECT_EQ(ending.exitCode, 0) << ending.errors;
    };
    EXPECT_THAT(summaryOf([&](ProjectPackage& package) { package.setAudioTracks({}); }),
                testing::HasSubstr("[ERROR] Microphone mode expected a microphone track in manifest."));
    EXPECT_THAT(summaryOf([&](ProjectPackage& package) {
                    replaceBy(package.screenURL(), screen, "-t 4"); // input option: all of it
                    replaceBy(package.rootURL() / "mic_audio.m4a", microphone, "-t 2");
                }),
                testing::HasSubstr("[ERROR] Microphone/screen duration drift is "));
    EXPECT_THAT(summaryOf([&](ProjectPackage& package) {
                    replaceBy(package.rootURL() / "camera.mov", camera, "-t 2");
                }),
                testing::AllOf(testing::StartsWith("PASS"),
                               testing::HasSubstr("[WARNING] Camera/screen duration drift is ")));
    EXPECT_THAT(summaryOf([&](ProjectPackage& package) { // late: it says that it began, and isn't over yet
                    replaceBy(package.rootURL() / "mic_audio.m4a", microphone, "-itsoffset 2");
                }),
                testing::HasSubstr("[ERROR] Microphone/screen duration drift is 2."));
}

} // namespace tavrin::test
