#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace tavrin::bench {

/// What a program that has ended cost.
struct ChildOutcome {
    int exitCode = -1;      ///< 128 and the signal's number when a signal ended it
    double wallSeconds = 0; ///< from its start to its end
    double cpuSeconds = 0;  ///< user and system time of all its threads
    std::string output;     ///< what it wrote to standard output
};

/// Runs a program to its end, with nothing on its standard input and its standard error passed on.
/// @param arguments  the program first, found through PATH
/// @throws Error when it can't be started
[[nodiscard]] ChildOutcome runChild(const std::vector<std::string>& arguments);

/// As `runChild`, but anything else than exit code 0 is an error too.
/// @throws Error
ChildOutcome runChildOrThrow(const std::vector<std::string>& arguments);

/// The path of this very program, to run parts of it as a process of their own.
[[nodiscard]] std::string ownProgram();

} // namespace tavrin::bench
