#include "FaultDriver.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavrin::test {

namespace {

namespace fs = std::filesystem;

/// Where a call says which file it means.
enum class Names { descriptor, path, pathAt, twoPaths, twoPathsAt };

struct Call {
    long number;
    std::string_view name;
    unsigned kind;
    Names names;
};

constexpr Call watchedCalls[] = {
#ifdef SYS_open // the calls without "at" are missing on newer architectures
    {SYS_open, "open", openCall, Names::path},
    {SYS_creat, "creat", createCall, Names::path},
    {SYS_rename, "rename", renameCall, Names::twoPaths},
    {SYS_link, "link", linkCall, Names::twoPaths},
    {SYS_unlink, "unlink", removeCall, Names::path},
    {SYS_rmdir, "rmdir", removeCall, Names::path},
    {SYS_mkdir, "mkdir", makeFolderCall, Names::path},
    {SYS_stat, "stat", lookCall, Names::path},
    {SYS_lstat, "lstat", lookCall, Names::path},
    {SYS_access, "access", lookCall, Names::path},
#endif
#ifdef SYS_renameat
    {SYS_renameat, "renameat", renameCall, Names::twoPathsAt},
#endif
    {SYS_openat, "openat", openCall, Names::pathAt},
    {SYS_read, "read", readCall, Names::descriptor},
    {SYS_pread64, "pread", readCall, Names::descriptor},
    {SYS_readv, "readv", readCall, Names::descriptor},
    {SYS_write, "write", writeCall, Names::descriptor},
    {SYS_pwrite64, "pwrite", writeCall, Names::descriptor},
    {SYS_writev, "writev", writeCall, Names::descriptor},
    {SYS_copy_file_range, "copy_file_range", writeCall, Names::descriptor},
    {SYS_sendfile, "sendfile", writeCall, Names::descriptor},
    {SYS_fsync, "fsync", flushCall, Names::descriptor},
    {SYS_fdatasync, "fdatasync", flushCall, Names::descriptor},
    {SYS_close, "close", closeCall, Names::descriptor},
    {SYS_renameat2, "renameat2", renameCall, Names::twoPathsAt},
    {SYS_linkat, "linkat", linkCall, Names::twoPathsAt},
    {SYS_unlinkat, "unlinkat", removeCall, Names::pathAt},
    {SYS_mkdirat, "mkdirat", makeFolderCall, Names::pathAt},
    {SYS_newfstatat, "fstatat", lookCall, Names::pathAt},
    {SYS_statx, "statx", lookCall, Names::pathAt},
    {SYS_faccessat, "faccessat", lookCall, Names::pathAt},
    {SYS_fstat, "fstat", lookCall, Names::descriptor},
    {SYS_lseek, "lseek", lookCall, Names::descriptor},
    {SYS_getdents64, "getdents", lookCall, Names::descriptor},
    {SYS_ftruncate, "ftruncate", resizeCall, Names::descriptor},
    {SYS_fallocate, "fallocate", resizeCall, Names::descriptor},
};

[[noreturn]] void failed(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

class Descriptor {
public:
    explicit Descriptor(int value = -1) : value_(value) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;

    [[nodiscard]] int get() const { return value_; }
    void reset() {
        if (value_ >= 0) {
            ::close(std::exchange(value_, -1));
        }
    }

private:
    int value_;
};

// In the child.

/// Hands the watched calls over to whoever holds the descriptor that it returns.
int installFilter() {
    std::vector<sock_filter> program{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    for (const Call& call : watchedCalls) {
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

/// A message that takes a descriptor to another process.
struct DescriptorMessage {
    char byte = 0;
    iovec part{&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr header{};

    DescriptorMessage() {
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
};

void sendDescriptor(int socket, int descriptor) {
    DescriptorMessage message;
    cmsghdr* const control = CMSG_FIRSTHDR(&message.header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(control), &descriptor, sizeof descriptor);
    if (::sendmsg(socket, &message.header, 0) != 1) {
        ::_exit(1);
    }
}

Descriptor receiveDescriptor(int socket) {
    DescriptorMessage message;
    if (::recvmsg(socket, &message.header, MSG_CMSG_CLOEXEC) != 1) {
        throw std::runtime_error("The child has installed no filter.");
    }
    const cmsghdr* const control = CMSG_FIRSTHDR(&message.header);
    int descriptor = -1;
    if (control != nullptr) {
        std::memcpy(&descriptor, CMSG_DATA(control), sizeof descriptor);
    }
    return Descriptor(descriptor);
}

void sendAll(int socket, std::string_view text) {
    while (!text.empty()) {
        const ssize_t sent = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            ::_exit(1);
        }
        text.remove_prefix(std::size_t(sent));
    }
}

[[noreturn]] void live(int socket, const std::function<std::string()>& body) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int listener = installFilter();
    if (listener < 0) {
        ::_exit(1);
    }
    sendDescriptor(socket, listener);
    ::syscall(SYS_dup3, socket, listener,
              O_CLOEXEC); // closes the listener without the filter's seeing a close
    std::string answer;
    try {
        answer = "r" + body();
    } catch (const std::exception& error) {
        answer = std::string("e") + error.what();
    } catch (...) {
        answer = "eunknown";
    }
    sendAll(socket, answer);
    ::_exit(0);
}

// In the parent.

/// One call that the child waits in.
struct Request {
    seccomp_notif notification{};
    Call call{};
    std::string subject; ///< the file that it is about

    [[nodiscard]] std::uint64_t argument(std::size_t i) const { return notification.data.args[i]; }
    [[nodiscard]] pid_t thread() const { return pid_t(notification.pid); }
};

std::string linkTarget(pid_t thread, const std::string& entry) {
    std::array<char, 4096> target{};
    const std::string link = "/proc/" + std::to_string(thread) + "/" + entry;
    const ssize_t size = ::readlink(link.c_str(), target.data(), target.size());
    return {target.data(), size > 0 ? std::size_t(size) : 0};
}

std::string textAt(pid_t thread, std::uint64_t address) {
    std::string text;
    constexpr std::uint64_t page = 4096;
    while (text.size() < 4096) {
        std::array<char, page> piece{};
        const std::uint64_t size = page - address % page; // a page may be the last one
        const iovec local{piece.data(), std::size_t(size)};
        const iovec remote{reinterpret_cast<void*>(address), std::size_t(size)};
        if (::process_vm_readv(thread, &local, 1, &remote, 1, 0) != ssize_t(size)) {
            return text;
        }
        const char* const end = std::find(piece.data(), piece.data() + size, '\0');
        text.append(piece.data(), std::size_t(end - piece.data()));
        if (end != piece.data() + size) {
            return text;
        }
        address += size;
    }
    return text;
}

std::string pathOf(const Request& request, std::optional<std::size_t> folder, std::size_t path) {
    const std::string text = textAt(request.thread(), request.argument(path));
    if (text.starts_with('/')) {
        return text;
    }
    const int descriptor = folder ? int(request.argument(*folder)) : AT_FDCWD;
    const std::string base =
        linkTarget(request.thread(), descriptor == AT_FDCWD ? "cwd" : "fd/" + std::to_string(descriptor));
    return text.empty() ? base : base + "/" + text;
}

bool isBelow(const std::string& path, const fs::path& folder) {
    const std::string root = folder.string();
    return path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/' || root == "/");
}

/// The file that a call is about; of two the one below the folder.
std::string subjectOf(const Request& request, const fs::path& folder) {
    const auto eitherOf = [&](const std::string& first, const std::string& second) {
        return isBelow(first, folder) ? first : second;
    };
    switch (request.call.names) {
    case Names::descriptor:
        return linkTarget(request.thread(), "fd/" + std::to_string(int(request.argument(0))));
    case Names::path:
        return pathOf(request, {}, 0);
    case Names::pathAt:
        return pathOf(request, 0, 1);
    case Names::twoPaths:
        return eitherOf(pathOf(request, {}, 0), pathOf(request, {}, 1));
    case Names::twoPathsAt:
        return eitherOf(pathOf(request, 0, 1), pathOf(request, 2, 3));
    }
    return {};
}

class Supervisor {
public:
    Supervisor(const FaultPlan& plan, pid_t child, int listener)
        : plan_(plan), child_(child), listener_(listener) {}

    /// Takes one request, lets it pass or not. @return false when there was none
    bool serve() {
        Request request;
        if (::ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &request.notification) != 0) {
            return errno == EINTR || errno == ENOENT; // the thread has gone meanwhile
        }
        classify(request);
        seccomp_notif_resp response{};
        response.id = request.notification.id;
        response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        if ((request.call.kind & plan_.calls) != 0 && isBelow(request.subject, plan_.below)) {
            run_.calls += 1;
            if (run_.calls == plan_.at || (plan_.isLasting && run_.wasMet())) {
                if (!run_.wasMet()) {
                    run_.victim = std::string(request.call.name) + " " + request.subject;
                }
                if (plan_.kind == FaultKind::kill) {
                    ::kill(child_, SIGKILL);
                    return true;
                }
                meet(request, response);
            }
        }
        ::ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &response);
        return true;
    }

    [[nodiscard]] FaultedRun& run() { return run_; }

private:
    void classify(Request& request) const {
        const auto* const found =
            std::ranges::find(watchedCalls, long(request.notification.data.nr), &Call::number);
        request.call = *found;
        request.subject = subjectOf(request, plan_.below);
        const std::size_t flags = request.call.names == Names::path ? 1 : 2;
        if (request.call.kind == openCall && (request.argument(flags) & O_CREAT) != 0) {
            request.call.kind = createCall;
        }
    }

    void meet(const Request& request, seccomp_notif_resp& response) const {
        switch (plan_.kind) {
        case FaultKind::fail:
            response.flags = 0;
            response.error = -plan_.error;
            break;
        case FaultKind::failAfter:
            perform(request);
            response.flags = 0;
            response.error = -plan_.error;
            break;
        case FaultKind::shorten:
            if ((request.call.number == SYS_write || request.call.number == SYS_read) &&
                request.argument(2) > 1) {
                const std::int64_t done = halfOf(request);
                response.flags = 0;
                response.error = done < 0 ? int(done) : 0;
                response.val = std::max<std::int64_t>(done, 0);
            }
            break;
        case FaultKind::kill:
            break;
        }
    }

    /// Of the calls whose doing matters although they fail: in the child's place, with the child's file.
    void perform(const Request& request) const {
        const int descriptor = int(request.argument(0));
        switch (request.call.number) {
#ifdef SYS_open
        case SYS_rename:
#endif
#ifdef SYS_renameat
        case SYS_renameat:
#endif
        case SYS_renameat2: {
            const bool isAt = request.call.names == Names::twoPathsAt;
            const std::string from = isAt ? pathOf(request, 0, 1) : pathOf(request, {}, 0);
            const std::string to = isAt ? pathOf(request, 2, 3) : pathOf(request, {}, 1);
            static_cast<void>(::rename(from.c_str(), to.c_str()));
            break;
        }
        case SYS_write:
            static_cast<void>(transfer(request, request.argument(2)));
            break;
        case SYS_fsync:
        case SYS_fdatasync:
            ::fsync(copyOf(descriptor).get());
            break;
        default:
            break;
        }
    }

    [[nodiscard]] Descriptor copyOf(int descriptor) const {
        const Descriptor process(int(::syscall(SYS_pidfd_open, child_, 0)));
        return Descriptor(int(::syscall(SYS_pidfd_getfd, process.get(), descriptor, 0)));
    }

    [[nodiscard]] std::int64_t halfOf(const Request& request) const {
        return transfer(request, request.argument(2) / 2);
    }

    /// The first `size` bytes of a read or a write. @return how many went through, or minus an errno value
    [[nodiscard]] std::int64_t transfer(const Request& request, std::uint64_t size) const {
        std::vector<char> bytes(std::min<std::uint64_t>(size, std::uint64_t(1) << 26));
        const Descriptor file = copyOf(int(request.argument(0)));
        const iovec local{bytes.data(), bytes.size()};
        const iovec remote{reinterpret_cast<void*>(request.argument(1)), bytes.size()};
        if (request.call.number == SYS_read) {
            const ssize_t got = ::read(file.get(), bytes.data(), bytes.size());
            const iovec filled{bytes.data(), std::size_t(std::max<ssize_t>(got, 0))};
            return got < 0 ? -errno : ::process_vm_writev(request.thread(), &filled, 1, &remote, 1, 0);
        }
        if (::process_vm_readv(request.thread(), &local, 1, &remote, 1, 0) != ssize_t(bytes.size())) {
            return -EFAULT;
        }
        const ssize_t put = ::write(file.get(), bytes.data(), bytes.size());
        return put < 0 ? -errno : put;
    }

    const FaultPlan& plan_;
    const pid_t child_;
    const int listener_;
    FaultedRun run_;
};

/// Serves the child's calls until it has ended or its time is over.
void serveUntilTheEnd(Supervisor& supervisor, const Descriptor& listener, int socket, pid_t child,
                      std::chrono::seconds limit, std::string& answer) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    bool isListening = true;
    bool isOpen = true;
    while (isOpen) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        std::array<pollfd, 2> waiting{pollfd{isListening ? listener.get() : -1, POLLIN, 0},
                                      pollfd{socket, POLLIN, 0}};
        const int ready =
            ::poll(waiting.data(), waiting.size(), int(std::max<std::int64_t>(left.count(), 0)));
        if (ready == 0) {
            supervisor.run().isHanging = true;
            ::kill(child, SIGKILL);
            return;
        }
        if ((waiting[0].revents & POLLIN) != 0) {
            isListening = supervisor.serve();
        } else if (waiting[0].revents != 0) {
            isListening = false;
        }
        if (waiting[1].revents != 0) {
            std::array<char, 65536> buffer{};
            const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
            isOpen = count > 0;
            answer.append(buffer.data(), std::size_t(std::max<ssize_t>(count, 0)));
        }
    }
}

} // namespace

FaultedRun runWithFault(const FaultPlan& plan, const std::function<std::string()>& body) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        failed("socketpair");
    }
    Descriptor mine(ends[0]);
    Descriptor theirs(ends[1]);
    const pid_t child = ::fork();
    if (child < 0) {
        failed("fork");
    }
    if (child == 0) {
        mine.reset();
        live(theirs.get(), body);
    }
    theirs.reset();

    std::string answer;
    FaultedRun run;
    {
        const Descriptor listener = receiveDescriptor(mine.get());
        FaultPlan resolved = plan;
        resolved.below = fs::weakly_canonical(plan.below);
        Supervisor supervisor(resolved, child, listener.get());
        serveUntilTheEnd(supervisor, listener, mine.get(), child, plan.limit, answer);
        run = supervisor.run();
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    run.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    if (answer.starts_with('r')) {
        run.result = answer.substr(1);
    } else if (answer.starts_with('e')) {
        run.escaped = answer.substr(1);
    }
    return run;
}

std::size_t forEveryCall(FaultPlan plan, const std::function<void()>& prepare,
                         const std::function<std::string()>& body,
                         const std::function<void(const FaultedRun&)>& check) {
    for (plan.at = 1;; ++plan.at) {
        prepare();
        const FaultedRun run = runWithFault(plan, body);
        if (!run.wasMet()) {
            return plan.at - 1;
        }
        check(run);
    }
}

} // namespace tavrin::test
