#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <string>

#include <fmt/format.h>

#include "ChildProcess.h"
#include "Examples/Walkthrough/DemoApplication.h"
#include "Figures.h"
#include "Fixtures/PulseServer.h"
#include "Measuring/Measuring.h"
#include "MotionPainter.h"
#include "PointerMover.h"
#include "Takes.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::bench {

namespace {

namespace fs = std::filesystem;

constexpr double fullMotionSeconds = 30;
constexpr double stillSeconds = 15;
constexpr double soundSeconds = 15;
constexpr int soundRounds = 4;

/// What the recording child says of its take.
struct Recorded {
    double cpuSeconds = 0;
    double seconds = 0;
    double framesTaken = 0;
    double framesDropped = 0;
};

Recorded record(const std::string& display, const fs::path& folder, double seconds, bool withSound = false) {
    const ChildOutcome outcome = runOwnProgram(
        {"--record", display, folder.string(), fmt::format("{}", seconds), withSound ? "sound" : "silent"});
    Recorded result;
    result.cpuSeconds = outcome.cpuSeconds;
    if (std::sscanf(outcome.output.c_str(), "%lf %lf %lf", &result.seconds, &result.framesTaken,
                    &result.framesDropped) != 3) {
        throw Error("The recording process gave no figures.");
    }
    return result;
}

/// Processor seconds of the usual recorder for as long a take.
double grabbingCost(const std::string& display, const fs::path& folder, double seconds) {
    return runFFmpeg({"-f", "x11grab", "-framerate", "60", "-video_size", "1920x1080", "-t",
                      fmt::format("{}", seconds), "-i", display, "-c:v", "libx264", "-preset", "ultrafast",
                      "-pix_fmt", "yuv420p", (folder / "grabbed.mp4").string()})
        .cpuSeconds;
}

} // namespace

void captureFullMotion(Takes& takes) {
    const VirtualDisplay display;
    const MotionPainter painter(display.name());
    const std::int64_t paintedBefore = painter.frames();
    const auto start = std::chrono::steady_clock::now();
    const Recorded ours = record(display.name(), takes.folder(), fullMotionSeconds);
    const double paintRate = double(painter.frames() - paintedBefore) / secondsSince(start);
    const double theirs = grabbingCost(display.name(), takes.folder(), fullMotionSeconds);
    const double expected = ours.seconds * 60;
    say(fmt::format(
        "painted {:.2f} pictures a second; took {} of {:.0f} frames; {:.1f} against {:.1f} CPU seconds",
        paintRate, ours.framesTaken, expected, ours.cpuSeconds, theirs));
    printFigure("capture.fullmotion.dropped", std::max(0.0, 100 * (expected - ours.framesTaken) / expected),
                "%");
    printFigure("capture.fullmotion.dropped_by_queue", 100 * ours.framesDropped / expected, "%");
    printFigure("capture.fullmotion.painted", paintRate, "fps");
    printFigure("capture.fullmotion.cpu_vs_x11grab", ours.cpuSeconds / theirs, "ratio");
}

void captureStill(Takes& takes) {
    const VirtualDisplay display;
    { const demo::DemoApplication leavesItsWallpaper(display.name()); }
    const PointerMover mover(display.name());
    const Recorded ours = record(display.name(), takes.folder(), stillSeconds);
    const double theirs = grabbingCost(display.name(), takes.folder(), stillSeconds);
    say(fmt::format("{:.2f} against {:.2f} CPU seconds", ours.cpuSeconds, theirs));
    printFigure("capture.still.cpu_vs_x11grab", ours.cpuSeconds / theirs, "ratio");
}

void captureSound(Takes& takes) {
    const VirtualDisplay display;
    const MotionPainter painter(display.name());
    const test::PrivateHome home;
    const test::PulseServer server(home, {"module-sine frequency=440"});
    // The least of several: what else runs on the machine can only make a take dearer.
    double with = std::numeric_limits<double>::max();
    double without = with;
    for (int round = 0; round < soundRounds; ++round) {
        const auto cost = [&](bool withSound) {
            return record(display.name(), takes.folder(), soundSeconds, withSound).cpuSeconds;
        };
        without = std::min(without, cost(false));
        with = std::min(with, cost(true));
        say(fmt::format("{:.2f} with sound against {:.2f} CPU seconds", with, without));
    }
    printFigure("capture.sound.cpu", 100 * (with / without - 1), "%");
}

} // namespace tavrin::bench
