#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace tavrin::test {

/// A program that runs beside the test; killed with the object if it still runs.
class Child {
public:
    /// @param arguments    the program first: a path, or a name to be looked up in PATH
    /// @param environment  "NAME=value" to set, "NAME" to unset
    explicit Child(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment = {});
    ~Child();
    Child(Child&& other) noexcept;
    Child& operator=(Child&&) = delete;

    /// The next line of its standard output; empty at the end.
    std::string readLine();

    /// What it writes to standard error and standard output until it ends.
    struct Ending {
        int exitCode = -1; ///< 128 and the signal's number when a signal ended it
        std::string output;
        std::string errors;
        double cpuSeconds = 0; ///< user and system time of all its threads
    };
    Ending wait();

    void signal(int number) const;
    [[nodiscard]] pid_t processID() const { return process_; }

private:
    std::string readAll(int descriptor);

    pid_t process_ = 0;
    int output_ = -1;
    int errors_ = -1;
};

/// This very program.
[[nodiscard]] std::string ownProgram();

} // namespace tavrin::test
