#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include <linux/seccomp.h>
#include <sys/types.h>

namespace tavrin::test {

/// Lets this process, from now on, wait at each of its system calls on files until whoever holds the
/// descriptor that is returned has answered. @return the descriptor of a seccomp listener, or -1
[[nodiscard]] int handOverFileCalls();

/// A system call on a file that waits for its answer.
class WatchedCall {
public:
    explicit WatchedCall(const seccomp_notif& notification);

    [[nodiscard]] std::string_view name() const;
    [[nodiscard]] unsigned kind() const { return kind_; } ///< a `FileCall`
    /// The file that it is about; of two the one below the folder.
    [[nodiscard]] std::string subject(const std::filesystem::path& folder) const;

private:
    [[nodiscard]] std::uint64_t argument(std::size_t index) const { return notification_.data.args[index]; }
    [[nodiscard]] std::string linkTarget(const std::string& entry) const;
    [[nodiscard]] std::string textAt(std::uint64_t address) const;
    [[nodiscard]] std::string pathOf(int folder, std::size_t path) const;

    const seccomp_notif notification_;
    const std::size_t index_; ///< among the calls that are known
    unsigned kind_;
};

[[nodiscard]] bool isBelow(const std::string& path, const std::filesystem::path& folder);

} // namespace tavrin::test
