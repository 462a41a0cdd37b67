#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin::bench {

class Takes;

/// A piece of the benchmark: it prints figures whose names begin with one of the piece's.
struct Piece {
    std::vector<std::string_view> names;
    std::function<void(Takes&)> run;
};

/// All pieces, in the order in which they run.
[[nodiscard]] const std::vector<Piece>& allPieces();

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

/// Prints a figure: "name: value unit".
void printFigure(std::string_view name, double value, std::string_view unit);

/// Says on standard error what is being done.
void say(std::string_view what);

[[nodiscard]] double median(std::vector<double> values);

} // namespace tavrin::bench
