#include "Figures.h"

#include <cstdio>
#include <filesystem>

#include <fmt/format.h>

#include "ChildProcess.h"
#include "Fixtures/Child.h"

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

ExportPreset measuredPreset(double framesPerSecond) {
    ExportPreset preset =
        ExportPreset::required1080p(ExportAspectPreset::horizontal16x9, ExportSpeedQualityMode::highQuality);
    preset.fps = framesPerSecond;
    return preset;
}

namespace {

/// Figures that a program of its own prints.
void runNeighbour(const char* name) {
    const auto program = std::filesystem::path(test::ownProgram()).parent_path() / name;
    fmt::print("{}", runChild({program.string()}).output);
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

} // namespace tavrin::bench
