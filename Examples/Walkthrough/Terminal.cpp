#include "Examples/Walkthrough/Terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <fmt/format.h>
#include <unistd.h>

namespace tavrin::demo {

namespace {

constexpr int barWidth = 30;

} // namespace

ProgressLine::ProgressLine(std::string title)
    : title_(std::move(title)), terminal_(isatty(STDOUT_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
    if (open_) {
        fmt::print("\n");
        std::fflush(stdout);
    }
}

void ProgressLine::show(double fraction) {
    const double share = std::clamp(fraction, 0.0, 1.0);
    const int step = int(std::floor(share * (terminal_ ? 100 : 10)));
    if (step == shown_) {
        return;
    }
    shown_ = step;
    if (terminal_) {
        const int filled = int(std::round(share * barWidth));
        fmt::print("\r{:<12}[{:#<{}}{:.<{}}] {:3.0f} %\033[K", title_, "", filled, "", barWidth - filled,
                   share * 100);
        open_ = true;
    } else {
        fmt::print("{} {:.0f} %\n", title_, share * 100);
    }
    std::fflush(stdout);
}

void printTable(const std::vector<std::pair<std::string, std::string>>& rows) {
    std::size_t width = 0;
    for (const auto& [name, value] : rows) {
        width = std::max(width, name.size());
    }
    for (const auto& [name, value] : rows) {
        fmt::print("  {:<{}}  {}\n", name, width, value);
    }
    std::fflush(stdout);
}

} // namespace tavrin::demo
