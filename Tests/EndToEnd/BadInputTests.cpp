#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Examples/Walkthrough/ScreenTake.h"
#include "Fixtures/Child.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Support/Files.h"
#include "TestDesktop.h"

namespace tavrin::test {

namespace {

namespace fs = std::filesystem;

std::ptrdiff_t threadCount() {
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

/// Threads that lost a race may need a moment to end.
bool threadsReturnTo(std::ptrdiff_t count) {
    for (int i = 0; i < 100 && threadCount() > count; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return threadCount() <= count;
}

bool isEmptyOrMissing(const fs::path& folder) {
    return !fs::exists(folder) || fs::is_empty(folder);
}

/// Runs something that must fail, and hands over its sentence.
template <typename Action>
std::string sentenceOfFailure(Action action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(BadInput, ADisplayThatVanishesInMidTake) {
    const TemporaryFolder folder;
    VirtualDisplay display;
    const std::ptrdiff_t threads = threadCount();
    {
        demo::ScreenTake take({.display = display.name(), .outputDirectory = folder.path()});
        take.start();
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        display.crash();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        take.finish();
        // What there was until then is a take like any other.
        EXPECT_GT(take.facts().framesTaken, 0);
        EXPECT_GT(take.facts().durationSeconds, 1);
    }
    EXPECT_TRUE(threadsReturnTo(threads));
}

TEST(BadInput, ACaptureThatDeliversNoPicture) {
    const TemporaryFolder folder;
    VirtualDisplay display;
    const std::ptrdiff_t threads = threadCount();
    {
        demo::ScreenTake take({.display = display.name(), .outputDirectory = folder.path()});
        kill(display.processID(), SIGSTOP);
        EXPECT_NE(sentenceOfFailure([&] { take.start(); }), "");
        kill(display.processID(), SIGCONT);
        EXPECT_FALSE(fs::exists(take.packagePath()));
    }
    EXPECT_TRUE(threadsReturnTo(threads));
    EXPECT_TRUE(isEmptyOrMissing(folder.path()));

    // The same folder and display serve a next take.
    demo::ScreenTake take({.display = display.name(), .outputDirectory = folder.path()});
    take.start();
    take.finish();
    EXPECT_TRUE(fs::exists(take.packagePath() / "manifest.json"));
}

TEST(BadInput, TheProgramSaysWhatIsWrongInOneSentence) {
    struct Case {
        std::vector<std::string> arguments;
        std::vector<std::string> environment;
        std::string sentenceHas;
    };
    const TemporaryFolder folder;
    const fs::path file = folder / "file";
    std::ofstream(file) << "in the way";
    const VirtualDisplay display;
    const std::vector<Case> cases{
        {{"--frobnicate"}, {"DISPLAY"}, "--frobnicate"},
        {{"--seconds", "soon"}, {"DISPLAY"}, "soon"},
        {{"--seconds"}, {"DISPLAY"}, "--seconds needs a value"},
        {{"--output", folder.path()}, {"DISPLAY=:4094"}, ":4094"},
        {{"--output", (file / "below").string()}, {"DISPLAY=" + display.name()}, "file"},
        {{"--output", folder.path()}, {"DISPLAY", "PATH=" + folder.path().string()}, "Xvfb"},
    };
    for (const Case& one : cases) {
        std::vector<std::string> command{WALKTHROUGH_PROGRAM};
        command.insert(command.end(), one.arguments.begin(), one.arguments.end());
        Child program(command, one.environment);
        const Child::Ending ending = program.wait();
        EXPECT_EQ(ending.exitCode, 1) << one.sentenceHas;
        EXPECT_NE(ending.errors.find(one.sentenceHas), std::string::npos) << ending.errors;
        EXPECT_EQ(std::ranges::count(ending.errors, '\n'), 1) << ending.errors;
    }
}

TEST(BadInput, AnInterruptedRecordingIsExported) {
    const TemporaryFolder folder;
    VirtualDisplay::Settings settings;
    settings.size = {640, 360};
    const VirtualDisplay display(settings);
    TestDesktop desktop(display.name());
    desktop.startFlicker();
    Child program({WALKTHROUGH_PROGRAM, "--output", folder.path()}, {"DISPLAY=" + display.name()});
    EXPECT_EQ(program.readLine(), "Recording. Ctrl-C ends it.");
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    program.signal(SIGINT);
    const Child::Ending ending = program.wait();
    EXPECT_EQ(ending.exitCode, 0) << ending.errors;
    EXPECT_NE(ending.output.find("Movie "), std::string::npos) << ending.output;
    EXPECT_EQ(std::ranges::count_if(fs::directory_iterator(folder.path()),
                                    [](const auto& entry) { return entry.path().extension() == ".mp4"; }),
              1);
}

} // namespace tavrin::test
