#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "TavrinKit/Project/ExportPreset.h"

namespace tavrin::bench {

class Takes;

/// A piece of the benchmark: it prints figures whose names begin with one of the piece's.
struct Piece {
    std::vector<std::string_view> names;
    std::function<void(Takes&)> run;
};

/// All pieces, in the order in which they run.
[[nodiscard]] const std::vector<Piece>& allPieces();

/// What all exports are measured with.
[[nodiscard]] ExportPreset measuredPreset(double framesPerSecond = 60);

void exportWalkthrough(Takes& takes);
void exportFullMotion(Takes& takes);
void exportEverything(Takes& takes);
void exportBlurred(Takes& takes);
void exportPeakMemory(Takes& takes);
void exportOverhead(Takes& takes);
void exportCancelling(Takes& takes);
void sampleTakes(Takes& takes);
void captureFullMotion(Takes& takes);
void captureStill(Takes& takes);
void captureSound(Takes& takes);
void eventsAndCursor(Takes& takes);
void planAndHistory(Takes& takes);
void loadStores(Takes& takes);
void listSources(Takes& takes);

} // namespace tavrin::bench
