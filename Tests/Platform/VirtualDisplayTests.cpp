#include <csignal>
#include <fstream>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

bool isAlive(pid_t process) {
    return ::kill(process, 0) == 0;
}

TEST(VirtualDisplayTests, whatCantStartSaysWhy) {
    VirtualDisplay::Settings missing;
    missing.program = "no-such-server";
    VirtualDisplay::Settings impossible;
    impossible.depth = 77;
    for (const auto& [settings, kind, words] :
         {std::tuple{missing, VirtualDisplayErrorCase::programMissing, "xvfb"},
          std::tuple{impossible, VirtualDisplayErrorCase::startFailed, "screen"}}) {
        try {
            const VirtualDisplay display(settings);
            ADD_FAILURE() << settings.program;
        } catch (const VirtualDisplayError& error) {
            EXPECT_EQ(error.kind(), kind);
            EXPECT_THAT(error.what(), testing::HasSubstr(words));
        }
    }
}

TEST(VirtualDisplayTests, serversHaveNamesOfTheirOwnAndEndWithTheirObjects) {
    std::optional<VirtualDisplay> first(std::in_place);
    VirtualDisplay second;
    EXPECT_NE(first->name(), second.name());
    const int process = first->processID();
    EXPECT_TRUE(isAlive(process));
    const std::string name = first->name();
    first.reset();
    EXPECT_FALSE(isAlive(process));
    // Somebody else may have taken the name by now.
    int owner = 0;
    std::ifstream("/tmp/.X" + name.substr(1) + "-lock") >> owner;
    EXPECT_NE(owner, process);
}

TEST(VirtualDisplayTests, aServerDoesNotOutliveAKilledProcess) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const VirtualDisplay display;
        const int process = display.processID();
        [[maybe_unused]] const ssize_t written = ::write(ends[1], &process, sizeof process);
        ::pause();
        ::_exit(0);
    }
    int process = 0;
    ASSERT_EQ(::read(ends[0], &process, sizeof process), ssize_t(sizeof process));
    ::close(ends[0]);
    ::close(ends[1]);
    EXPECT_TRUE(isAlive(process));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(eventually([&] {
        // Nobody here may be there to reap it: a process that has ended has no open files left either.
        return !isAlive(process) ||
               ::access(("/proc/" + std::to_string(process) + "/exe").c_str(), F_OK) != 0;
    }));
}

} // namespace
} // namespace tavrin::test
