#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>

#include "Examples/Walkthrough/ScreenTake.h"
#include "Figures.h"
#include "Measuring/Measuring.h"
#include "Takes.h"
#include "TavrinKit/Support/Error.h"

namespace {

using namespace tavrin;

/// The part of an export that is measured, as a process of its own; prints its largest memory in MiB.
void exportPackage(const std::string& package, const std::string& movie, double framesPerSecond) {
    const EditorSession session = EditorSession::open(ProjectPackage::load(package));
    demo::exportSession(session, bench::measuredPreset(framesPerSecond), movie, {});
    fmt::print("{:.1f}\n", bench::peakMemory());
}

/// The part of a recording that is measured; prints its seconds, the frames taken and the frames dropped.
void recordDisplay(const std::string& display, const std::string& folder, double seconds, bool withSound) {
    demo::ScreenTake take({.display = display,
                           .outputDirectory = folder,
                           .audio = {.includeSystemAudio = withSound, .includeMicrophone = false}});
    take.start();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    take.finish();
    const demo::TakeFacts facts = take.facts();
    fmt::print("{} {} {}\n", facts.durationSeconds, facts.framesTaken, facts.framesDropped);
}

/// A name asks for a piece when it begins like one of the piece's names, or goes on from it.
bool isWanted(const bench::Piece& piece, const std::vector<std::string>& wanted) {
    const auto matches = [&](const std::string& asked) {
        return std::ranges::any_of(piece.names, [&](std::string_view name) {
            return name.starts_with(asked) || asked.starts_with(name);
        });
    };
    return wanted.empty() || std::ranges::any_of(wanted, matches);
}

int runPieces(const std::vector<std::string>& wanted) {
    bench::Takes takes;
    bool any = false;
    int failures = 0;
    for (const bench::Piece& piece : bench::allPieces()) {
        if (!isWanted(piece, wanted)) {
            continue;
        }
        any = true;
        bench::say(piece.names.front());
        try {
            piece.run(takes);
        } catch (const std::exception& error) {
            fmt::print(stderr, "{}: {}\n", piece.names.front(), error.what());
            ++failures;
        }
    }
    if (!any) {
        fmt::print(stderr, "No piece has that name; --list prints them.\n");
    }
    return any && failures == 0 ? 0 : 1;
}

} // namespace

int main(int count, char** values) {
    const std::vector<std::string> arguments(values + 1, values + count);
    try {
        if (arguments.size() == 1 && arguments[0] == "--list") {
            for (const bench::Piece& piece : bench::allPieces()) {
                fmt::print("{}\n", fmt::join(piece.names, " "));
            }
            return 0;
        }
        if (arguments.size() == 4 && arguments[0] == "--export") {
            exportPackage(arguments[1], arguments[2], std::stod(arguments[3]));
            return 0;
        }
        if (arguments.size() == 5 && arguments[0] == "--record") {
            recordDisplay(arguments[1], arguments[2], std::stod(arguments[3]), arguments[4] == "sound");
            return 0;
        }
        return runPieces(arguments);
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
