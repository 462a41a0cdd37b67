#include "FaultDriver.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Fixtures/WatchedCalls.h"

namespace tavrin::test {
namespace {

class Descriptor {
public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() { ::close(value_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int get() const { return value_; }

private:
    const int value_;
};

void sendAll(int socket, std::string_view text) {
    while (!text.empty()) {
        const ssize_t sent = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            ::_exit(1);
        }
        text.remove_prefix(std::size_t(sent));
    }
}

/// The child's life. Its parent fetches the listener by the number that it is told.
[[noreturn]] void live(int socket, const std::function<std::string()>& body) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int listener = handOverFileCalls();
    char isFetched = 0;
    if (listener < 0 || ::send(socket, &listener, sizeof listener, MSG_NOSIGNAL) != sizeof listener ||
        ::recv(socket, &isFetched, 1, 0) != 1) {
        ::_exit(1);
    }
    // Closes the listener without the filter's seeing a close.
    ::syscall(SYS_dup3, socket, listener, O_CLOEXEC);
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

int fetchListener(int socket, pid_t child) {
    int number = -1;
    if (::recv(socket, &number, sizeof number, MSG_WAITALL) != sizeof number) {
        throw std::runtime_error("The child has installed no filter.");
    }
    const Descriptor process(int(::syscall(SYS_pidfd_open, child, 0)));
    const int listener = int(::syscall(SYS_pidfd_getfd, process.get(), number, 0));
    if (listener < 0 || ::send(socket, "", 1, MSG_NOSIGNAL) != 1) {
        throw std::runtime_error("The child's filter is out of reach.");
    }
    return listener;
}

class Supervisor {
public:
    Supervisor(const FaultPlan& plan, pid_t child, int listener)
        : plan_(plan), child_(child), listener_(listener) {}

    /// Takes one call, lets it pass or not. @return false when there was none
    bool serve() {
        seccomp_notif notification{};
        if (::ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &notification) != 0) {
            return errno == EINTR || errno == ENOENT; // the thread has gone meanwhile
        }
        const WatchedCall call(notification);
        const std::string subject = call.subject(plan_.below);
        seccomp_notif_resp response{};
        response.id = notification.id;
        response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        if ((call.kind() & plan_.calls) != 0 && isBelow(subject, plan_.below)) {
            run_.calls += 1;
            if (run_.calls == plan_.at || (plan_.isLasting && run_.wasMet())) {
                if (!run_.wasMet()) {
                    run_.victim = std::string(call.name()) + " " + subject;
                }
                if (plan_.kind == FaultKind::kill) {
                    ::kill(child_, SIGKILL);
                    return true;
                }
                response.flags = 0;
                response.error = -plan_.error;
            }
        }
        ::ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &response);
        return true;
    }

    [[nodiscard]] FaultedRun& run() { return run_; }

private:
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
    const bool isConnected = ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0;
    const pid_t child = isConnected ? ::fork() : -1;
    if (child < 0) {
        throw std::runtime_error("No process for the body.");
    }
    if (child == 0) {
        ::close(ends[0]);
        live(ends[1], body);
    }
    ::close(ends[1]);
    const Descriptor socket(ends[0]);

    std::string answer;
    FaultedRun run;
    {
        const Descriptor listener(fetchListener(socket.get(), child));
        FaultPlan resolved = plan;
        resolved.below = std::filesystem::weakly_canonical(plan.below);
        Supervisor supervisor(resolved, child, listener.get());
        serveUntilTheEnd(supervisor, listener, socket.get(), child, plan.limit, answer);
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
