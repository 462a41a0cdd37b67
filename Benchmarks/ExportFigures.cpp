#include <filesystem>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "ChildProcess.h"
#include "Figures.h"
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

double exportSpeed(const fs::path& package, const fs::path& movie, int rate) {
    return speed(
        runChildOrThrow({ownProgram(), "--export", package.string(), movie.string(), std::to_string(rate)}),
        movie);
}

/// The same encoder settings as the export's, and nothing else.
double transcodeSpeed(const fs::path& package, const fs::path& movie, int rate) {
    return speed(runChildOrThrow({"ffmpeg",
                                  "-nostdin",
                                  "-v",
                                  "error",
                                  "-y",
                                  "-i",
                                  (package / "screen.mov").string(),
                                  "-r",
                                  std::to_string(rate),
                                  "-c:v",
                                  "libx264",
                                  "-preset",
                                  "veryfast",
                                  "-profile:v",
                                  "high",
                                  "-bf",
                                  "0",
                                  "-g",
                                  std::to_string(2 * rate),
                                  "-b:v",
                                  "20M",
                                  "-pix_fmt",
                                  "yuv420p",
                                  movie.string()}),
                 movie);
}

void compareWithTranscode(std::string_view name, const fs::path& package, const fs::path& folder,
                          int rate = 60) {
    std::vector<double> ratios;
    std::vector<double> exports;
    std::vector<double> transcodes;
    for (int round = 0; round < rounds; ++round) {
        exports.push_back(exportSpeed(package, folder / "export.mp4", rate));
        transcodes.push_back(transcodeSpeed(package, folder / "transcode.mp4", rate));
        ratios.push_back(exports.back() / transcodes.back());
        say(fmt::format("{}, round {}: {:.1f} against {:.1f} frames per second", name, round + 1,
                        exports.back(), transcodes.back()));
    }
    printFigure(fmt::format("{}.speed_vs_transcode", name), median(ratios), "ratio");
    printFigure(fmt::format("{}.speed", name), median(exports), "fps");
    printFigure(fmt::format("{}.transcode_speed", name), median(transcodes), "fps");
}

double peakMemory(const fs::path& package, const fs::path& movie) {
    return std::stod(
        runChildOrThrow({ownProgram(), "--export", package.string(), movie.string(), "60"}).output);
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
    const double shortTake = peakMemory(takes.fullMotion(), takes.folder() / "export.mp4");
    const double longTake = peakMemory(takes.longFullMotion(), takes.folder() / "export.mp4");
    printFigure("export.peak_memory", std::max(shortTake, longTake), "MiB");
    printFigure("export.peak_memory.short_take", shortTake, "MiB");
    printFigure("export.peak_memory.long_take", longTake, "MiB");
}

} // namespace tavrin::bench
