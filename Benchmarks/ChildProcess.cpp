#include "ChildProcess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "TavrinKit/Support/Error.h"

extern char** environ;

namespace tavrin::bench {

namespace {

double seconds(const timeval& time) {
    return double(time.tv_sec) + double(time.tv_usec) * 1e-6;
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), std::size_t(count));
        } else if (count == 0 || errno != EINTR) {
            return text;
        }
    }
}

} // namespace

ChildOutcome runChild(const std::vector<std::string>& arguments) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw Error(fmt::format("No pipe could be made: {}.", std::strerror(errno)));
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);

    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    const int failure = posix_spawnp(&child, pointers.front(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failure != 0) {
        close(ends[0]);
        throw Error(fmt::format("{} could not be started: {}.", arguments.front(), std::strerror(failure)));
    }

    ChildOutcome outcome;
    outcome.output = readAll(ends[0]);
    close(ends[0]);
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    outcome.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.cpuSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

ChildOutcome runChildOrThrow(const std::vector<std::string>& arguments) {
    ChildOutcome outcome = runChild(arguments);
    if (outcome.exitCode != 0) {
        throw Error(fmt::format("{} {} ended with code {}.", arguments.front(),
                                arguments.size() > 1 ? arguments[1] : "", outcome.exitCode));
    }
    return outcome;
}

std::string ownProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

} // namespace tavrin::bench
