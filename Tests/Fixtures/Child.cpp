#include "Fixtures/Child.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavrin::test {

Child::Child(const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
    std::array<int, 2> output{};
    std::array<int, 2> errors{};
    if (pipe2(output.data(), O_CLOEXEC) != 0 || pipe2(errors.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(output[1], STDOUT_FILENO);
        dup2(errors[1], STDERR_FILENO);
        for (const std::string& entry : environment) {
            if (entry.find('=') == std::string::npos) {
                unsetenv(entry.c_str());
            } else {
                putenv(const_cast<char*>(entry.c_str()));
            }
        }
        execvp(pointers.front(), pointers.data());
        _exit(127);
    }
    close(output[1]);
    close(errors[1]);
    output_ = output[0];
    errors_ = errors[0];
}

Child::Child(Child&& other) noexcept
    : process_(std::exchange(other.process_, 0)), output_(std::exchange(other.output_, -1)),
      errors_(std::exchange(other.errors_, -1)) {}

Child::~Child() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(output_);
    close(errors_);
}

std::string Child::readLine() {
    std::string line;
    for (char c = 0; read(output_, &c, 1) == 1 && c != '\n';) {
        line += c;
    }
    return line;
}

std::string Child::readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> buffer;
    for (ssize_t count = 0; (count = read(descriptor, buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), std::size_t(count));
    }
    return text;
}

Child::Ending Child::wait() {
    Ending ending;
    std::thread errorReader([&] { ending.errors = readAll(errors_); });
    ending.output = readAll(output_);
    errorReader.join();
    int status = 0;
    rusage usage{};
    wait4(std::exchange(process_, 0), &status, 0, &usage);
    ending.cpuSeconds = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                        double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
    ending.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return ending;
}

void Child::signal(int number) const {
    kill(process_, number);
}

std::string ownProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

} // namespace tavrin::test
