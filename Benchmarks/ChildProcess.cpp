#include "ChildProcess.h"

#include <chrono>
#include <cstdio>
#include <initializer_list>

#include <fmt/format.h>

#include "Fixtures/Child.h"
#include "Measuring/Measuring.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::bench {

namespace {

ChildOutcome runWith(std::initializer_list<std::string> first, std::vector<std::string>& rest) {
    rest.insert(rest.begin(), first);
    return runChild(rest);
}

} // namespace

ChildOutcome runChild(const std::vector<std::string>& arguments) {
    const auto start = std::chrono::steady_clock::now();
    test::Child::Ending ending = test::Child(arguments).wait();
    const double wallSeconds = secondsSince(start);
    std::fputs(ending.errors.c_str(), stderr);
    if (ending.exitCode != 0) {
        throw Error(fmt::format("{} {} ended with code {}.", arguments.front(),
                                arguments.size() > 1 ? arguments[1] : "", ending.exitCode));
    }
    return {wallSeconds, ending.cpuSeconds, std::move(ending.output)};
}

ChildOutcome runOwnProgram(std::vector<std::string> arguments) {
    return runWith({test::ownProgram()}, arguments);
}

ChildOutcome runFFmpeg(std::vector<std::string> arguments) {
    return runWith({"ffmpeg", "-nostdin", "-v", "error", "-y"}, arguments);
}

} // namespace tavrin::bench
