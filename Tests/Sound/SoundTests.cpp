#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Clicks.h"
#include "Fixtures/Movies/Movies.h"
#include "Fixtures/PulseServer.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Platform/Pulse/PulseError.h"
#include "TavrinKit/Platform/Pulse/PulseMicrophoneCapture.h"
#include "TavrinKit/Platform/Pulse/PulseSystemAudioStream.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr double tolerance = 0.020;
constexpr double scatter = 0.050; // of single clicks, for players and listeners on a busy machine

void tellServer(const std::vector<std::string>& words) {
    std::vector<std::string> line{"pactl"};
    line.insert(line.end(), words.begin(), words.end());
    const Child::Ending ending = Child(line).wait();
    ASSERT_EQ(ending.exitCode, 0) << ending.errors;
}

/// A recording ends between the moment before its stop and the one after it.
void expectWithin(double end, double before, double after) {
    EXPECT_GE(end, before - 0.05);
    EXPECT_LE(end, after + 0.05);
}

/// Each of the clicks is in the sound, at its time.
void expectAt(const std::vector<double>& clicks, const std::vector<double>& found) {
    const std::vector<double> errors = distances(clicks, found);
    EXPECT_GE(errors.size(), 2U);
    const double first = clicks.empty() ? 0 : clicks.front();
    EXPECT_EQ(errors.size(), clicks.size())
        << testing::PrintToString(since(first, found)) << testing::PrintToString(since(first, clicks));
    // A thread of the test that was made to wait errs, not the recorder: hence not the worst ones.
    EXPECT_LT(std::abs(quantile(errors, 0.5)), tolerance);
    EXPECT_GT(quantile(errors, 0.2), -scatter);
    EXPECT_LT(quantile(errors, 0.8), scatter);
}

std::shared_ptr<SoundCollector> collect(std::optional<PulseSystemAudioStream>& stream,
                                        const CaptureApplicationExclusionRule& exclusion = {}) {
    StreamConfiguration configuration;
    configuration.audioExclusion = exclusion;
    auto collector = std::make_shared<SoundCollector>();
    stream.emplace("", configuration, collector);
    stream->start({});
    return collector;
}

TEST(SystemAudioTests, followsTheDefaultOutputAndAServerThatComesBack) {
    const PrivateHome home;
    const std::vector<std::string> hall{"module-null-sink sink_name=hall"};
    std::optional<PulseServer> server(std::in_place, home, hall);
    tellServer({"set-default-sink", "speakers"});
    std::optional<PulseSystemAudioStream> stream;
    std::shared_ptr<SoundCollector> collector;
    std::vector<double> heard;
    const auto keep = [&](const ClickPlayer& player, double from) {
        const auto more = within(player.heard(), from, HostClock::now() - 0.1);
        heard.insert(heard.end(), more.begin(), more.end());
    };
    {
        const ClickPlayer here({"speakers"});
        const ClickPlayer there({"hall"});
        std::this_thread::sleep_for(2200ms); // for which an idle output has played silence ahead
        collector = collect(stream);
        const double started = HostClock::now();
        std::this_thread::sleep_for(2500ms);
        keep(here, started + 0.3);
        tellServer({"set-default-sink", "hall"});
        const double changed = HostClock::now();
        std::this_thread::sleep_for(2500ms);
        keep(there, changed + 0.3);
    }
    const double died = HostClock::now();
    server.reset();
    std::this_thread::sleep_for(1500ms);
    server.emplace(home, hall);
    const double back = HostClock::now();
    std::this_thread::sleep_for(2500ms); // for which an idle output has played silence ahead
    {
        const ClickPlayer again({"speakers"});
        const ClickPlayer orAgain({"hall"});
        std::this_thread::sleep_for(2500ms);
        tellServer({"set-default-sink", "speakers"});
        std::this_thread::sleep_for(2000ms);
        keep(again, HostClock::now() - 1.5);
    }
    const double end = HostClock::now();
    stream->stop({});
    const auto collected = collector->collected();
    EXPECT_TRUE(collected.isUnbroken);
    expectWithin(collected.end, end, HostClock::now());
    expectAt(heard, collected.clicks());
    EXPECT_THAT(within(collected.clicks(), died + 0.1, back), IsEmpty());
    EXPECT_THAT(collected.warnings, Contains(StartsWith("system_audio_device_changed:")));
    EXPECT_THAT(collected.warnings, Contains(StartsWith("system_audio_interrupted:")));
    EXPECT_THAT(collected.warnings, Not(Contains("system_audio_lost")));
}

TEST(SystemAudioTests, anExcludedApplicationIsNeverHeard) {
    const PrivateHome home;
    const PulseServer server(home);
    CaptureApplicationExclusionRule rule;
    rule.processIdentifiers = {4242};
    rule.bundleIdentifiers = {"org.example.Player"};
    std::optional<PulseSystemAudioStream> stream;
    const ClickPlayer byProcess({"speakers", 4242, "browser"});
    const ClickPlayer byName({"speakers", 5001, "player"});
    std::this_thread::sleep_for(500ms);
    const auto collector = collect(stream, rule);
    const double started = HostClock::now();
    std::this_thread::sleep_for(2s);
    const ClickPlayer other({"speakers", 5002, "game"});
    std::this_thread::sleep_for(3s);
    stream->stop({});

    const auto collected = collector->collected();
    const auto clicks = collected.clicks();
    const std::vector<double> heard = within(other.heard(), 0, collected.end - 0.2);
    for (const ClickPlayer* player : {&byProcess, &byName}) {
        EXPECT_THAT(within(player->heard(), started, collected.end), Not(IsEmpty()));
    }
    expectAt(heard, clicks);
    EXPECT_EQ(within(clicks, 0, collected.end - 0.2).size(), heard.size());
    EXPECT_TRUE(collected.isUnbroken);
}

TEST(SystemAudioTests, aServerThatIsAbsentOrSilentEndsTheStartAndOneThatHangsEndsNothing) {
    const PrivateHome home;
    std::optional<PulseSystemAudioStream> stream;
    EXPECT_THROW((void)collect(stream), PulseError);
    {
        const SilentPulseServer server(home);
        EXPECT_THROW((void)collect(stream), PulseError);
        StreamConfiguration configuration;
        PulseSystemAudioStream cancelled("", configuration, std::make_shared<SoundCollector>());
        std::stop_source stop;
        std::jthread stopper([&] {
            std::this_thread::sleep_for(100ms);
            stop.request_stop();
        });
        EXPECT_THROW(cancelled.start(stop.get_token()), CancellationError);
    }
    std::filesystem::remove(home.pulseSocket());
    const PulseServer server(home);
    const auto collector = collect(stream);
    std::this_thread::sleep_for(500ms);
    server.signal(SIGSTOP);
    std::this_thread::sleep_for(2500ms);
    const double end = HostClock::now();
    stream->stop({});
    server.signal(SIGCONT);
    expectWithin(collector->collected().end, end, HostClock::now());
    EXPECT_TRUE(collector->collected().isUnbroken);
    EXPECT_THAT(collector->collected().warnings, testing::ElementsAre("system_audio_lost"));
}

TEST(MicrophoneTests, theFileKeepsTheTakesTimeThroughTheLossOfItsSource) {
    const PrivateHome home;
    const std::string pipes = std::filesystem::path(home.pulseSocket()).parent_path().string();
    const auto module = [&](const std::string& name) {
        return "module-pipe-source source_name=" + name + " file=" + pipes + "/" + name +
               " format=s16le rate=48000 channels=1";
    };
    const PulseServer server(home, {module("desk"), module("head")});
    const ClickingMicrophone desk(pipes + "/desk", 200e-6);
    const ClickingMicrophone head(pipes + "/head", -200e-6);
    PulseMicrophoneCapture capture(pipes + "/take.m4a", {"", "desk"});
    EXPECT_THROW((void)capture.stop({}), MicrophoneCaptureError);
    capture.start({});
    EXPECT_THROW(capture.start({}), MicrophoneCaptureError);
    std::this_thread::sleep_for(700ms);
    const double zero = HostClock::now() - 0.2;
    capture.setTimeZero(zero);
    std::this_thread::sleep_for(2500ms);
    const double removed = HostClock::now();
    tellServer({"unload-module", "module-pipe-source"}); // all of them
    std::this_thread::sleep_for(1s);
    tellServer({"load-module", "module-pipe-source", "source_name=new", "file=" + pipes + "/new",
                "format=s16le", "rate=48000", "channels=1"});
    const ClickingMicrophone fresh(pipes + "/new");
    std::this_thread::sleep_for(2500ms);
    const double end = HostClock::now();
    const std::filesystem::path file = capture.stop({});

    EXPECT_TRUE(probeMedia(file).video.empty());
    expectWithin(probeMedia(file).duration, end - zero, HostClock::now() - zero);
    std::vector<double> clicked = within(desk.clicked(), zero, removed - 0.1);
    const auto more = within(fresh.clicked(), 0, end - 0.1);
    clicked.insert(clicked.end(), more.begin(), more.end());
    expectAt(since(zero, clicked), findClicks(readSound(file)));
    EXPECT_THAT(capture.warnings(), Contains(StartsWith("microphone_interrupted:1.")));

    capture.cancel(); // also when nothing runs any more
    EXPECT_FALSE(std::filesystem::exists(pipes + "/take.m4a"));
    capture.start({});
    capture.cancel();
    EXPECT_FALSE(std::filesystem::exists(pipes + "/take.m4a"));
}

TEST(MicrophoneTests, oneThatSaysNothingGivesSilenceAndOneThatIsNotThereAnError) {
    const PrivateHome home;
    const std::filesystem::path folder = std::filesystem::path(home.pulseSocket()).parent_path();
    const auto refuses = [&] {
        try {
            PulseMicrophoneCapture(folder / "none.m4a").start({});
        } catch (const MicrophoneCaptureError& error) {
            return error.kind() == MicrophoneCaptureErrorKind::unableToStartRecording;
        }
        return false;
    };
    EXPECT_TRUE(refuses());
    {
        const PulseServer server(home); // its only source is the speakers' monitor
        EXPECT_TRUE(refuses());
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "none.m4a"));

    const PulseServer server(home,
                             {"module-pipe-source source_name=mute file=" + (folder / "mute").string()});
    PulseMicrophoneCapture capture(folder / "mute.m4a");
    capture.start({});
    const double zero = HostClock::now();
    capture.setTimeZero(zero);
    std::this_thread::sleep_for(1500ms);
    const double end = HostClock::now();
    const std::filesystem::path file = capture.stop({});
    expectWithin(probeMedia(file).duration, end - zero, HostClock::now() - zero);
    EXPECT_THAT(findClicks(readSound(file)), IsEmpty());
    EXPECT_THAT(capture.warnings(), testing::ElementsAre("microphone_delivered_nothing"));
}

} // namespace
} // namespace tavrin::test
