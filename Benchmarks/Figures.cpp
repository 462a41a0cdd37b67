#include "Figures.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include <fmt/format.h>

#include "ChildProcess.h"

namespace tavrin::bench {

const std::vector<Piece>& allPieces() {
    static const std::vector<Piece> pieces{
        {{"export.walkthrough"}, exportWalkthrough},
        {{"export.fullmotion"}, exportFullMotion},
        {{"export.everything"}, exportEverything},
        {{"export.blur30"}, exportBlurred},
        {{"export.peak_memory"}, exportPeakMemory},
        {{"export.overhead"}, exportOverhead},
        {{"export.cancelling"}, exportCancelling},
        {{"capture.fullmotion"}, captureFullMotion},
        {{"capture.still"}, captureStill},
        {{"capture.sound"}, captureSound},
        {{"events.load", "cursor.frame_state"}, eventsAndCursor},
        {{"plan", "undo"}, planAndHistory},
        {{"sampler"}, sampleTakes},
        {{"store.load"}, loadStores},
        {{"sources.list"}, listSources},
    };
    return pieces;
}

namespace {

/// Figures that a program of its own prints.
void runNeighbour(const char* name) {
    const auto program = std::filesystem::path(ownProgram()).parent_path() / name;
    fmt::print("{}", runChildOrThrow({program.string()}).output);
    std::fflush(stdout);
}

} // namespace

void eventsAndCursor(Takes&) {
    runNeighbour("EventsBenchmark");
}

void planAndHistory(Takes&) {
    runNeighbour("EditsBenchmark");
}

void loadStores(Takes&) {
    runNeighbour("StoresBenchmark");
}

void printFigure(std::string_view name, double value, std::string_view unit) {
    fmt::print("{}: {:.4g} {}\n", name, value, unit);
    std::fflush(stdout);
}

void say(std::string_view what) {
    fmt::print(stderr, "-- {}\n", what);
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

} // namespace tavrin::bench
