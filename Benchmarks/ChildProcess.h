#pragma once

#include <string>
#include <vector>

namespace tavrin::bench {

/// What a program that has ended cost.
struct ChildOutcome {
    double wallSeconds = 0; ///< from its start to its end
    double cpuSeconds = 0;  ///< user and system time of all its threads
    std::string output;     ///< what it wrote to standard output
};

/// Runs a program to its end. What it wrote to standard error is passed on.
/// @param arguments  the program first, found through PATH
/// @throws Error when it can't be started or fails
ChildOutcome runChild(const std::vector<std::string>& arguments);

/// Runs this very program with other arguments.
ChildOutcome runOwnProgram(std::vector<std::string> arguments);

/// Runs ffmpeg, which may overwrite what is there.
ChildOutcome runFFmpeg(std::vector<std::string> arguments);

} // namespace tavrin::bench
