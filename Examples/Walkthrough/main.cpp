// Records a walkthrough, opens it with generated zooms and exports it: see CommandLine::helpText.

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "Examples/Walkthrough/CommandLine.h"
#include "Examples/Walkthrough/DemoApplication.h"
#include "Examples/Walkthrough/DemoScript.h"
#include "Examples/Walkthrough/Interrupts.h"
#include "Examples/Walkthrough/Pacing.h"
#include "Examples/Walkthrough/ScreenTake.h"
#include "Examples/Walkthrough/Showcase.h"
#include "Examples/Walkthrough/SourceList.h"
#include "Examples/Walkthrough/Terminal.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCatalog.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Session/SessionProjectLocator.h"
#include "TavrinKit/Support/Cancellation.h"

namespace {

using namespace tavrin;
using namespace tavrin::demo;

std::filesystem::path outputDirectory(const CommandLine& commandLine) {
    return commandLine.outputDirectory.value_or(SessionProjectLocator::defaultRootDirectory());
}

/// Runs until the time is over or a stop is requested; the request is how a recording usually ends.
template <typename Work>
void untilStopped(Work work) {
    try {
        work();
    } catch (const CancellationError&) {
        fmt::print("\nStopped.\n");
    }
}

ScreenTake::Settings takeSettings(const CommandLine& commandLine, const std::string& display,
                                  bool demonstration) {
    ScreenTake::Settings settings;
    settings.display = display;
    settings.outputDirectory = outputDirectory(commandLine);
    settings.source = {.windowTitle = commandLine.window, .area = commandLine.area};
    settings.audio = {.includeSystemAudio = commandLine.sound, .includeMicrophone = commandLine.microphone};
    settings.camera.includeCamera = commandLine.camera;
    if (demonstration && commandLine.camera) {
        settings.syntheticCameraID = V4L2CameraCatalog::testPictureID;
    }
    return settings;
}

void recordUsersDisplay(ScreenTake& take, const CommandLine& commandLine, const std::stop_token& stop) {
    take.start(stop);
    fmt::print("Recording. Ctrl-C ends it{}.\n",
               commandLine.seconds ? fmt::format("; so do {:g} seconds", *commandLine.seconds) : "");
    std::fflush(stdout);
    constexpr double aDay = 24 * 3600;
    untilStopped([&] { pauseFor(commandLine.seconds.value_or(aDay), stop); });
    take.finish();
}

/// @param shortened  gets true when the script didn't run to its end
void recordDemonstration(ScreenTake& take, const std::string& display, const CommandLine& commandLine,
                         const std::stop_token& stop, bool& shortened) {
    const DemoApplication application(display);
    XTestDriver hand(display);
    DemoScript script(hand, application.origin());
    script.prepare();
    take.start(stop);
    fmt::print("Recording a demonstration of {:.0f} seconds. Ctrl-C ends it early.\n",
               commandLine.seconds.value_or(DemoScript::seconds));
    std::fflush(stdout);

    std::stop_source scriptStop;
    const std::stop_callback interrupted(stop, [&] { scriptStop.request_stop(); });
    std::optional<std::jthread> timer;
    if (commandLine.seconds && *commandLine.seconds < DemoScript::seconds) {
        timer.emplace([&scriptStop, length = *commandLine.seconds](const std::stop_token& timerStop) {
            try {
                pauseFor(length, timerStop);
                scriptStop.request_stop();
            } catch (const CancellationError&) {
                // The script was done first.
            }
        });
    }
    untilStopped([&] { script.run(scriptStop.get_token()); });
    shortened = scriptStop.stop_requested();
    timer.reset();
    take.finish();
}

ExportResult exportMovie(const ScreenTake& take, const EditorSession& session, const std::stop_token& stop) {
    const ExportPreset preset =
        ExportPreset::required1080p(ExportAspectPreset::horizontal16x9, ExportSpeedQualityMode::highQuality);
    ProgressLine progress("Exporting");
    return exportSession(
        session, preset, take.moviePath(), [&](double fraction) { progress.show(fraction); }, stop);
}

void printFacts(const ScreenTake& take, const ExportResult& movie) {
    const TakeFacts facts = take.facts();
    fmt::print("Movie    {}\n\n", movie.outputURL.string());
    printTable({
        {"Duration", fmt::format("{:.2f} s", facts.durationSeconds)},
        {"Frames taken", fmt::format("{}", facts.framesTaken)},
        {"Frames dropped", fmt::format("{}", facts.framesDropped)},
        {"Pointer moves", fmt::format("{}", facts.moves)},
        {"Clicks", fmt::format("{}", facts.clicks)},
        {"Drag moves", fmt::format("{}", facts.drags)},
        {"Keys", fmt::format("{}", facts.keys)},
        {"Cursor states", fmt::format("{}", facts.cursorStates)},
        {"Zoom segments", fmt::format("{}", facts.zoomSegments)},
        {"Frames exported", fmt::format("{}", movie.frameCount)},
        {"Export speed", fmt::format("{:.2f} x real time, {:.0f} frames per second",
                                     movie.durationSeconds / movie.elapsedSeconds, movie.framesPerSecond())},
    });
    fmt::print("\n{}\n", facts.validation);
    for (const std::string& warning : facts.warnings) {
        fmt::print("Warning: {}\n", warning);
    }
    std::fflush(stdout);
}

/// A demonstration that ran to its end but left no trace was not recorded, whatever the movie shows.
void requirePlausible(const TakeFacts& facts) {
    if (facts.moves == 0 || facts.clicks < 8 || facts.drags == 0 || facts.keys == 0 ||
        facts.cursorStates == 0) {
        throw Error("The recording lacks events of the demonstration: the input was not seen.");
    }
    if (facts.zoomSegments < 3) {
        throw Error("The recording has too few zooms for the clicks of the demonstration.");
    }
    if (!facts.passesValidation) {
        throw Error("The recording is not sound. " + facts.validation);
    }
    if (facts.framesTaken < 60) {
        throw Error("The recording has too few pictures of the demonstration.");
    }
}

void run(const CommandLine& commandLine, Interrupts& interrupts) {
    const char* usersDisplay = std::getenv("DISPLAY");
    const bool hasDisplay = usersDisplay != nullptr && *usersDisplay != '\0';
    if (commandLine.list) {
        printSources(loadDesktopPlatform());
        return;
    }
    const bool demonstration = !hasDisplay;
    std::optional<VirtualDisplay> ownDisplay;
    if (demonstration) {
        ownDisplay.emplace();
    }
    bool shortened = false;
    const std::string display = demonstration ? ownDisplay->name() : usersDisplay;
    ScreenTake take(takeSettings(commandLine, display, demonstration));
    const std::stop_token recordingStop = interrupts.beginStage();
    if (demonstration) {
        recordDemonstration(take, display, commandLine, recordingStop, shortened);
    } else {
        recordUsersDisplay(take, commandLine, recordingStop);
    }
    ownDisplay.reset();
    fmt::print("Project  {}\n", take.packagePath().string());
    const EditorSession session =
        commandLine.showcase
            ? Showcase::apply(take.packagePath(), Showcase::evenCuts(take.facts().durationSeconds))
            : take.session();
    const ExportResult movie = exportMovie(take, session, interrupts.beginStage());
    printFacts(take, movie);
    if (demonstration && !shortened) {
        requirePlausible(take.facts());
    }
}

/// What failed, and behind it the reason with what to do about it.
std::string explain(const std::exception& error) {
    std::string text = error.what();
    const auto* const ours = dynamic_cast<const Error*>(&error);
    if (ours != nullptr && ours->underlying()) {
        try {
            std::rethrow_exception(ours->underlying());
        } catch (const std::exception& cause) {
            text += " " + explain(cause);
        } catch (...) {
            text += " The reason is unknown.";
        }
    }
    return text;
}

} // namespace

int main(int count, char** arguments) {
    try {
        const CommandLine commandLine = CommandLine::parse(count, arguments);
        if (commandLine.help) {
            fmt::print("{}", CommandLine::helpText);
            return 0;
        }
        Interrupts interrupts;
        run(commandLine, interrupts);
        return 0;
    } catch (const std::exception& error) {
        std::fflush(stdout);
        fmt::print(stderr, "{}\n", explain(error));
        return 1;
    }
}
