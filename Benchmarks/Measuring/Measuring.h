#pragma once

#include <chrono>
#include <string_view>
#include <vector>

namespace tavrin::bench {

/// Prints a figure: "name: value unit".
void printFigure(std::string_view name, double value, std::string_view unit);

/// Says on standard error what is being done.
void say(std::string_view what);

[[nodiscard]] double median(std::vector<double> values);

[[nodiscard]] double secondsSince(std::chrono::steady_clock::time_point start);

template <typename Work>
[[nodiscard]] double secondsTaken(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return secondsSince(start);
}

/// The most memory that this process has held since its start or the last reset, in MiB.
[[nodiscard]] double peakMemory();
void resetPeakMemory();

} // namespace tavrin::bench
