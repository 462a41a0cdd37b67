#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Fixtures/Child.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TestDesktop.h"

namespace tavrin::test {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int batches = 4;
constexpr int victimsAtOnce = 5;

struct Victim {
    TemporaryFolder folder;
    Child process;
    Clock::time_point recordingSince;
    Clock::time_point killAt;
    double livedSeconds = 0;

    explicit Victim(const std::string& display)
        : process({WALKTHROUGH_PROGRAM, "--output", folder.path()}, {"DISPLAY=" + display}) {
        EXPECT_EQ(process.readLine(), "Recording. Ctrl-C ends it.");
        recordingSince = Clock::now();
    }
};

/// The one movie below a folder, whatever the recorder calls it.
std::optional<fs::path> movieBelow(const fs::path& folder) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".mov") {
            return entry.path();
        }
    }
    return std::nullopt;
}

/// The time of the last picture that can be decoded.
double playableSeconds(const fs::path& movie) {
    VideoReader reader(movie);
    double last = -1;
    while (const std::optional<DecodedFrame> frame = reader.next()) {
        last = frame->time;
    }
    return last;
}

} // namespace

TEST(Kill, TheTemporaryMoviePlaysUpToTwoSecondsBeforeTheEnd) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> lifetime(2.2, 7.0);

    VirtualDisplay::Settings settings;
    settings.size = {640, 360};
    const VirtualDisplay display(settings);
    TestDesktop desktop(display.name());
    desktop.startFlicker();

    for (int batch = 0; batch < batches; ++batch) {
        std::vector<std::unique_ptr<Victim>> victims;
        for (int i = 0; i < victimsAtOnce; ++i) {
            victims.push_back(std::make_unique<Victim>(display.name()));
        }
        for (const auto& victim : victims) {
            victim->killAt = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                std::chrono::duration<double>(lifetime(random)));
        }
        std::ranges::sort(victims, {}, [](const auto& victim) { return victim->killAt; });
        for (const auto& victim : victims) {
            std::this_thread::sleep_until(victim->killAt);
            victim->process.signal(SIGKILL);
            victim->livedSeconds =
                std::chrono::duration<double>(Clock::now() - victim->recordingSince).count();
        }
        for (const auto& victim : victims) {
            EXPECT_EQ(victim->process.wait().exitCode, 128 + SIGKILL);
            const std::optional<fs::path> movie = movieBelow(victim->folder.path());
            ASSERT_TRUE(movie) << "killed after " << victim->livedSeconds << " s, no movie";
            EXPECT_GE(playableSeconds(*movie), victim->livedSeconds - 2)
                << "killed after " << victim->livedSeconds << " s";
        }
    }
}

} // namespace tavrin::test
