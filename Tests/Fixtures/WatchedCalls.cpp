#include "Fixtures/WatchedCalls.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include <fcntl.h>
#include <linux/filter.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "Fixtures/FaultDriver.h"

namespace tavrin::test {
namespace {

/// Where a call says which file it means.
enum class Names { descriptor, path, pathAt, twoPaths, twoPathsAt };

struct Call {
    long number;
    std::string_view name;
    unsigned kind;
    Names names;
};

constexpr Call calls[] = {
#ifdef SYS_rename // the calls without "at" are missing on newer architectures
    {SYS_rename, "rename", renameCall, Names::twoPaths},
    {SYS_link, "link", linkCall, Names::twoPaths},
    {SYS_unlink, "unlink", removeCall, Names::path},
    {SYS_rmdir, "rmdir", removeCall, Names::path},
    {SYS_mkdir, "mkdir", makeFolderCall, Names::path},
    {SYS_access, "access", lookCall, Names::path},
#endif
    {SYS_openat, "openat", openCall, Names::pathAt},
    {SYS_read, "read", readCall, Names::descriptor},
    {SYS_pread64, "pread", readCall, Names::descriptor},
    {SYS_readv, "readv", readCall, Names::descriptor},
    {SYS_write, "write", writeCall, Names::descriptor},
    {SYS_writev, "writev", writeCall, Names::descriptor},
    {SYS_copy_file_range, "copy_file_range", writeCall, Names::descriptor},
    {SYS_sendfile, "sendfile", writeCall, Names::descriptor},
    {SYS_fsync, "fsync", flushCall, Names::descriptor},
    {SYS_close, "close", closeCall, Names::descriptor},
    {SYS_renameat2, "renameat2", renameCall, Names::twoPathsAt},
    {SYS_linkat, "linkat", linkCall, Names::twoPathsAt},
    {SYS_unlinkat, "unlinkat", removeCall, Names::pathAt},
    {SYS_mkdirat, "mkdirat", makeFolderCall, Names::pathAt},
    {SYS_newfstatat, "fstatat", lookCall, Names::pathAt},
    {SYS_fstat, "fstat", lookCall, Names::descriptor},
    {SYS_lseek, "lseek", lookCall, Names::descriptor},
    {SYS_getdents64, "getdents", lookCall, Names::descriptor},
    {SYS_ftruncate, "ftruncate", resizeCall, Names::descriptor},
    {SYS_fallocate, "fallocate", resizeCall, Names::descriptor},
};

} // namespace

int handOverFileCalls() {
    std::vector<sock_filter> program{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    for (const Call& call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, std::uint32_t(call.number), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{std::uint16_t(program.size()), program.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return -1;
    }
    return int(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter));
}

WatchedCall::WatchedCall(const seccomp_notif& notification)
    : notification_(notification),
      index_(std::size_t(std::ranges::find(calls, long(notification.data.nr), &Call::number) - calls)),
      kind_(calls[index_].kind) {
    if (kind_ == openCall && (argument(2) & O_CREAT) != 0) {
        kind_ = createCall;
    }
}

std::string_view WatchedCall::name() const {
    return calls[index_].name;
}

std::string WatchedCall::subject(const std::filesystem::path& folder) const {
    const auto eitherOf = [&](const std::string& first, const std::string& second) {
        return isBelow(first, folder) ? first : second;
    };
    switch (calls[index_].names) {
    case Names::descriptor:
        return linkTarget("fd/" + std::to_string(int(argument(0))));
    case Names::path:
        return pathOf(AT_FDCWD, 0);
    case Names::pathAt:
        return pathOf(int(argument(0)), 1);
    case Names::twoPaths:
        return eitherOf(pathOf(AT_FDCWD, 0), pathOf(AT_FDCWD, 1));
    case Names::twoPathsAt:
        return eitherOf(pathOf(int(argument(0)), 1), pathOf(int(argument(2)), 3));
    }
    return {};
}

std::string WatchedCall::linkTarget(const std::string& entry) const {
    std::array<char, 4096> target{};
    const std::string link = "/proc/" + std::to_string(notification_.pid) + "/" + entry;
    const ssize_t size = ::readlink(link.c_str(), target.data(), target.size());
    return {target.data(), size > 0 ? std::size_t(size) : 0};
}

std::string WatchedCall::textAt(std::uint64_t address) const {
    std::array<char, 4096> text{};
    const std::string memory = "/proc/" + std::to_string(notification_.pid) + "/mem";
    const int file = ::open(memory.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t size =
        ::pread(file, text.data(), text.size() - 1, off_t(address)); // up to where it is mapped
    ::close(file);
    return size > 0 ? text.data() : "";
}

std::string WatchedCall::pathOf(int folder, std::size_t path) const {
    const std::string text = textAt(argument(path));
    if (text.starts_with('/')) {
        return text;
    }
    const std::string base = linkTarget(folder == AT_FDCWD ? "cwd" : "fd/" + std::to_string(folder));
    return text.empty() ? base : base + "/" + text;
}

bool isBelow(const std::string& path, const std::filesystem::path& folder) {
    const std::string root = folder.string();
    return path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/' || root == "/");
}

} // namespace tavrin::test
