#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Clicks.h"
#include "EndToEnd/PlainWindow.h"
#include "EndToEnd/TestDesktop.h"
#include "Fixtures/Movies/Movies.h"
#include "Fixtures/PulseServer.h"
#include "TavrinKit/Capture/CapturePackageAssembler.h"
#include "TavrinKit/Capture/CaptureSyncValidator.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Platform/Pulse/PulseMicrophoneCapture.h"
#include "TavrinKit/Platform/Pulse/PulseSystemAudioStream.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin::test {
namespace {

constexpr double tolerance = 0.020; // seconds
constexpr double scatter = 0.050;   // of single clicks, on a busy machine

/// Seconds of the take; TAVRIN_SYNC_MINUTES asks for the long form.
double takeSeconds() {
    const char* minutes = std::getenv("TAVRIN_SYNC_MINUTES");
    return minutes != nullptr ? std::atof(minutes) * 60 : 12;
}

/// When the picture turned black, seconds from the movie's start.
std::vector<double> findClaps(const std::filesystem::path& movie) {
    std::vector<double> claps;
    bool wasBlack = true;
    VideoReader reader(movie);
    while (const auto frame = reader.next()) {
        const bool isBlack = frame->pixels.row(0, 16)[16] < 30; // away from the cursor
        if (isBlack && !wasBlack) {
            claps.push_back(frame->time);
        }
        wasBlack = isBlack;
    }
    return claps;
}

/// How far sound and picture are apart in each part of a take, worst of all parts.
/// @param sound    by how much each click is late in the file
/// @param picture  and each clap
double worstDistance(const std::vector<double>& sound, const std::vector<double>& picture) {
    constexpr std::size_t parts = 4;
    double worst = sound.size() < 2 * parts || picture.size() < 2 * parts ? 1000 : 0;
    const auto part = [](const std::vector<double>& all, std::size_t index) {
        return std::vector(all.begin() + std::ptrdiff_t(all.size() * index / parts),
                           all.begin() + std::ptrdiff_t(all.size() * (index + 1) / parts));
    };
    for (std::size_t index = 0; index < parts && worst < 1000; ++index) {
        const double distance = quantile(part(sound, index), 0.5) - quantile(part(picture, index), 0.5);
        worst = std::max(worst, std::abs(distance));
    }
    return worst;
}

TEST(SoundSyncTests, clicksAreHeardWhenTheyAreSeen) {
    const PrivateHome home;
    const std::string folder = std::filesystem::path(home.pulseSocket()).parent_path().string();
    const PulseServer server(home, {"module-pipe-source source_name=desk file=" + folder +
                                    "/desk format=s16le rate=48000 channels=1"});
    VirtualDisplay::Settings screen;
    screen.size = {320, 240};
    const VirtualDisplay display(screen);
    const TestDesktop desktop(display.name());
    PlainWindow clap(display.name(), {0, 0, 320, 240}, 0x000000);

    DesktopStreamCapture::Services services;
    services.backend = std::make_shared<X11CaptureBackend>(display.name());
    services.systemAudioStreamFactory = PulseSystemAudioStream::factory();
    services.microphoneCaptureFactory = PulseMicrophoneCapture::factory({"", "desk"});
    // Nothing is left out: the clap is a window of this process.
    DesktopStreamCapture capture(services, folder, {});
    CaptureOptions options;
    options.target = RecordingTarget::display("main");
    options.audio = {true, true};
    options.applicationExclusionRule = {};

    Guarded<std::vector<double>> shown;
    ClickPlayer player({.sink = "speakers", .onClick = [&] {
                            clap.show();
                            shown.with([](std::vector<double>& times) { times.push_back(HostClock::now()); });
                            std::this_thread::sleep_for(std::chrono::milliseconds(60));
                            clap.hide();
                        }});
    std::this_thread::sleep_for(std::chrono::seconds(1));
    capture.start(options, {});
    const double start = HostClock::now();
    const ClickingMicrophone microphone(folder + "/desk", 200e-6);
    std::this_thread::sleep_for(std::chrono::duration<double>(takeSeconds()));
    const ScreenCaptureResult take = capture.stop({});

    const auto& movie = take.screenSourceURL;
    const auto& voice = take.optionalAudio.at(AudioTrackDescriptor::Kind::microphone);
    const auto inTake = [&](const std::vector<double>& times) {
        return since(take.startedAt, within(times, start + 0.3, take.endedAt - 0.3));
    };
    const std::vector<double> seen = distances(inTake(shown.copy()), findClaps(movie));
    const std::vector<double> played = distances(inTake(player.heard()), findClicks(readSound(movie)));
    const std::vector<double> spoken = distances(inTake(microphone.clicked()), findClicks(readSound(voice)));
    EXPECT_LT(worstDistance(played, seen), tolerance);
    EXPECT_LT(worstDistance(spoken, seen), tolerance);
    EXPECT_LT(quantile(played, 0.9) - quantile(played, 0.1), scatter);
    EXPECT_LT(quantile(spoken, 0.9) - quantile(spoken, 0.1), scatter);
    EXPECT_NEAR(probeMedia(movie).audio.front().duration, take.duration(), 0.5);
    EXPECT_NEAR(probeMedia(voice).duration, take.duration(), 0.1);
    const ProjectPackage package =
        CapturePackageAssembler({folder + "/take", options}, take).assemble(EventTimeline(), EditsDocument());
    EXPECT_THAT(CaptureSyncValidator().validate(package, options).summary(), testing::EndsWith("No issues."));
}

} // namespace
} // namespace tavrin::test
