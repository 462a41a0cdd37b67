#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "ChildProcess.h"
#include "Figures.h"
#include "Measuring/Measuring.h"
#include "Takes.h"
#include "TavrinKit/Media/MediaInfo.h"

namespace tavrin::bench {

namespace {

namespace fs = std::filesystem;

constexpr int rounds = 3;

/// Frames of a movie per second of the process that made it.
double speed(const ChildOutcome& outcome, const fs::path& movie) {
    return double(probeMedia(movie).video.at(0).frameCount) / outcome.wallSeconds;
}

ChildOutcome exportPackage(const fs::path& package, const fs::path& movie, int rate) {
    return runOwnProgram({"--export", package.string(), movie.string(), std::to_string(rate)});
}

/// The same encoder settings as the export's, and nothing else.
ChildOutcome transcode(const fs::path& package, const fs::path& movie, int rate) {
    return runFFmpeg({"-i", (package / "screen.mov").string(), "-r", std::to_string(rate), "-c:v", "libx264",
                      "-preset", "veryfast", "-profile:v", "high", "-bf", "0", "-g", std::to_string(2 * rate),
                      "-b:v", "20M", "-pix_fmt", "yuv420p", movie.string()});
}

void compareWithTranscode(std::string_view name, const fs::path& package, const fs::path& folder,
                          int rate = 60) {
    std::vector<double> ratios;
    std::vector<double> exports;
    std::vector<double> transcodes;
    for (int round = 0; round < rounds; ++round) {
        const fs::path movie = folder / "export.mp4";
        exports.push_back(speed(exportPackage(package, movie, rate), movie));
        transcodes.push_back(speed(transcode(package, movie, rate), movie));
        ratios.push_back(exports.back() / transcodes.back());
        say(fmt::format("{}, round {}: {:.1f} against {:.1f} frames per second", name, round + 1,
                        exports.back(), transcodes.back()));
    }
    printFigure(fmt::format("{}.speed_vs_transcode", name), median(ratios), "ratio");
    printFigure(fmt::format("{}.speed", name), median(exports), "fps");
    printFigure(fmt::format("{}.transcode_speed", name), median(transcodes), "fps");
}

} // namespace

void exportWalkthrough(Takes& takes) {
    compareWithTranscode("export.walkthrough", takes.walkthrough(), takes.folder());
}

void exportFullMotion(Takes& takes) {
    compareWithTranscode("export.fullmotion", takes.fullMotion(), takes.folder());
}

void exportEverything(Takes& takes) {
    compareWithTranscode("export.everything", takes.everything(), takes.folder());
}

void exportBlurred(Takes& takes) {
    compareWithTranscode("export.blur30", takes.blurred(), takes.folder(), 30);
}

void exportPeakMemory(Takes& takes) {
    const auto mebibytes = [&](const fs::path& package) {
        return std::stod(exportPackage(package, takes.folder() / "export.mp4", 60).output);
    };
    const double shortTake = mebibytes(takes.fullMotion());
    const double longTake = mebibytes(takes.longFullMotion());
    printFigure("export.peak_memory", std::max(shortTake, longTake), "MiB");
    printFigure("export.peak_memory.short_take", shortTake, "MiB");
    printFigure("export.peak_memory.long_take", longTake, "MiB");
}

} // namespace tavrin::bench
