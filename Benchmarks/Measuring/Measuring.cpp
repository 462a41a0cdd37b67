#include "Measuring/Measuring.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

namespace tavrin::bench {

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

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double peakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stod(line.substr(6)) / 1024;
        }
    }
    throw std::runtime_error("The system doesn't tell the memory of this process.");
}

void resetPeakMemory() {
    std::ofstream("/proc/self/clear_refs") << 5;
}

} // namespace tavrin::bench
