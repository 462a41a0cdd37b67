#include "TavrinKit/Platform/X11/VirtualDisplay.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin {
namespace {

constexpr auto startBudget = std::chrono::seconds(20);
constexpr auto politeness = std::chrono::seconds(3);
constexpr int displayDescriptor = 3;

class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Moves it above those that the child's own will take.
    explicit FileDescriptor(int descriptor) : value_(::fcntl(descriptor, F_DUPFD_CLOEXEC, 10)) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
        if (value_ < 0) {
            throw std::system_error(errno, std::generic_category(), "file descriptor");
        }
    }
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }

    [[nodiscard]] int get() const { return value_; }
    void reset() {
        if (value_ >= 0) {
            ::close(std::exchange(value_, -1));
        }
    }

private:
    int value_ = -1;
};

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;

    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
    }
};

std::string lastLineOf(int descriptor) {
    std::string text(4096, '\0');
    const off_t size = ::lseek(descriptor, 0, SEEK_END);
    const off_t from = std::max<off_t>(0, size - off_t(text.size()));
    text.resize(std::size_t(std::max<ssize_t>(0, ::pread(descriptor, text.data(), text.size(), from))));
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    const auto newline = text.rfind('\n');
    return newline == std::string::npos ? text : text.substr(newline + 1);
}

/// RandR's SetMonitor, put together by hand: the library's own function sends a request of a wrong length.
xcb_void_cookie_t requestMonitor(const X11Connection& connection, const VirtualDisplay::Monitor& monitor,
                                 const xcb_randr_output_t* output) {
    struct {
        xcb_randr_set_monitor_request_t head;
        xcb_randr_monitor_info_t monitor;
        xcb_randr_output_t output;
    } request{};
    request.head.window = connection.root();
    request.monitor.name = connection.atom(monitor.name);
    request.monitor.primary = monitor.isPrimary ? 1 : 0;
    request.monitor.nOutput = output != nullptr ? 1 : 0;
    request.monitor.x = std::int16_t(monitor.x);
    request.monitor.y = std::int16_t(monitor.y);
    request.monitor.width = std::uint16_t(monitor.size.width);
    request.monitor.height = std::uint16_t(monitor.size.height);
    request.monitor.width_in_millimeters = std::uint32_t(monitor.size.width) / 4;
    request.monitor.height_in_millimeters = std::uint32_t(monitor.size.height) / 4;
    request.output = output != nullptr ? *output : 0;

    iovec parts[3] = {}; // The first two are the library's.
    parts[2].iov_base = &request;
    parts[2].iov_len = output != nullptr ? sizeof request : offsetof(decltype(request), output);
    const xcb_protocol_request_t protocol{1, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
    return {xcb_send_request(connection.xcb(), XCB_REQUEST_CHECKED, parts + 2, &protocol)};
}

} // namespace

VirtualDisplayError VirtualDisplayError::programMissing(const std::string& program) {
    return {VirtualDisplayErrorCase::programMissing,
            fmt::format("\"{}\" is not installed. Install the package xvfb, or set DISPLAY to record a real "
                        "display.",
                        program)};
}

VirtualDisplayError VirtualDisplayError::startFailed(const std::string& program, const std::string& reason) {
    return {VirtualDisplayErrorCase::startFailed,
            fmt::format("Unable to start the virtual display \"{}\": {}", program, reason)};
}

VirtualDisplayError VirtualDisplayError::monitorsFailed(const std::string& reason) {
    return {VirtualDisplayErrorCase::monitorsFailed,
            fmt::format("Unable to divide the virtual display into monitors: {}", reason)};
}

/// The server's process and the thread that started it. The kernel's signal at the death of a parent is
/// sent when the starting thread ends, so that thread stays for as long as the server runs.
class VirtualDisplay::Server {
public:
    explicit Server(const Settings& settings) : settings_(settings) {
        const int errors = ::memfd_create("virtual-display-errors", MFD_CLOEXEC);
        errors_ = FileDescriptor(errors);
        keeper_ = std::thread([this] { keep(); });
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return processID_ != 0; });
        }
        if (processID_ < 0) {
            keeper_.join();
            throw VirtualDisplayError::startFailed(settings_.program, "no new process");
        }
        forExec_.writing.reset();
        forName_.writing.reset();
    }

    ~Server() {
        if (!end(SIGTERM, politeness)) {
            end(SIGKILL, std::chrono::hours(1));
        }
        if (keeper_.joinable()) {
            keeper_.join();
        }
    }

    [[nodiscard]] std::string awaitName() {
        int code = 0;
        if (::read(forExec_.reading.get(), &code, sizeof code) == ssize_t(sizeof code)) {
            throw code == ENOENT
                ? VirtualDisplayError::programMissing(settings_.program)
                : VirtualDisplayError::startFailed(settings_.program, std::generic_category().message(code));
        }
        const auto deadline = std::chrono::steady_clock::now() + startBudget;
        std::string number;
        while (number.empty() || number.back() != '\n') {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd waiting{forName_.reading.get(), POLLIN, 0};
            if (left.count() <= 0 || ::poll(&waiting, 1, int(left.count())) == 0) {
                throw VirtualDisplayError::startFailed(settings_.program, "it did not become ready");
            }
            char digit = 0;
            if (::read(forName_.reading.get(), &digit, 1) != 1) {
                throw VirtualDisplayError::startFailed(settings_.program, lastLineOf(errors_.get()));
            }
            number += digit;
        }
        number.pop_back();
        return ":" + number;
    }

    [[nodiscard]] pid_t processID() const { return processID_; }

    bool end(int signal, std::chrono::nanoseconds budget) {
        std::unique_lock lock(mutex_);
        if (processID_ > 0 && !hasEnded_) {
            ::kill(processID_, signal);
        }
        return changed_.wait_for(lock, budget, [this] { return hasEnded_; });
    }

private:
    void keep() {
        std::vector<std::string> words{
            settings_.program,
            "-displayfd",
            std::to_string(displayDescriptor),
            "-screen",
            "0",
            fmt::format("{}x{}x{}", settings_.size.width, settings_.size.height, settings_.depth),
            "-nolisten",
            "tcp",
            "-noreset"};
        for (const std::string& extension : settings_.disabledExtensions) {
            words.insert(words.end(), {"-extension", extension});
        }
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);

        const pid_t parent = ::getpid();
        const pid_t child = ::fork();
        if (child == 0) {
            becomeServer(parent, arguments);
        }
        {
            const std::lock_guard lock(mutex_);
            processID_ = child < 0 ? -1 : child;
            hasEnded_ = child < 0;
        }
        changed_.notify_all();
        if (child > 0) {
            awaitEnd(child);
        }
    }

    /// In the child: only what is safe after a fork of a process with threads.
    [[noreturn]] void becomeServer(pid_t parent, std::vector<char*>& arguments) {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != parent) {
            ::_exit(1);
        }
        ::setsid(); // An interrupt from the terminal is for us; the server must outlive our clean-up.
        sigset_t none;
        ::sigemptyset(&none);
        ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
        for (const int signal : {SIGUSR1, SIGTERM, SIGINT, SIGHUP, SIGPIPE}) {
            ::signal(signal, SIG_DFL);
        }
        const int nothing = ::open("/dev/null", O_RDWR);
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(errors_.get(), STDOUT_FILENO);
        ::dup2(errors_.get(), STDERR_FILENO);
        ::dup2(forName_.writing.get(), displayDescriptor);
        ::close_range(displayDescriptor + 1, ~0U, CLOSE_RANGE_CLOEXEC);
        ::execvp(arguments[0], arguments.data());
        const int code = errno;
        [[maybe_unused]] const ssize_t written = ::write(forExec_.writing.get(), &code, sizeof code);
        ::_exit(127);
    }

    void awaitEnd(pid_t child) {
        siginfo_t information{};
        // Not reaped yet: until the flag is set the number can't become somebody else's.
        while (::waitid(P_PID, id_t(child), &information, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
        }
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        ::waitpid(child, nullptr, 0);
        changed_.notify_all();
    }

    const Settings settings_;
    Pipe forExec_; ///< carries the error of exec; closes when it succeeds
    Pipe forName_; ///< carries the display's number
    FileDescriptor errors_;
    std::thread keeper_;

    std::mutex mutex_;
    std::condition_variable changed_;
    pid_t processID_ = 0;   ///< under the mutex until the constructor is through; fixed then
    bool hasEnded_ = false; ///< under the mutex
};

VirtualDisplay::VirtualDisplay() : VirtualDisplay(Settings{}) {}

VirtualDisplay::VirtualDisplay(const Settings& settings)
    : server_(std::make_unique<Server>(settings)), name_(server_->awaitName()) {
    if (!settings.monitors.empty()) {
        setMonitors(settings.monitors);
    }
}

VirtualDisplay::~VirtualDisplay() = default;

int VirtualDisplay::processID() const {
    return server_->processID();
}

void VirtualDisplay::crash() {
    server_->end(SIGKILL, std::chrono::hours(1));
    const std::string number = name_.substr(1);
    ::unlink(("/tmp/.X" + number + "-lock").c_str());
    ::unlink(("/tmp/.X11-unix/X" + number).c_str());
}

void VirtualDisplay::setMonitors(const std::vector<Monitor>& monitors) {
    const X11Connection connection(name_);
    connection.requireRandR("a screen of several monitors");
    xcb_connection_t* xcb = connection.xcb();

    const X11Owned<xcb_randr_get_monitors_reply_t> present(
        xcb_randr_get_monitors_reply(xcb, xcb_randr_get_monitors(xcb, connection.root(), 0), nullptr));
    const X11Owned<xcb_randr_get_screen_resources_current_reply_t> resources(
        xcb_randr_get_screen_resources_current_reply(
            xcb, xcb_randr_get_screen_resources_current(xcb, connection.root()), nullptr));
    if (!present || !resources || resources->num_outputs == 0) {
        throw VirtualDisplayError::monitorsFailed("the server has no output");
    }
    for (auto each = xcb_randr_get_monitors_monitors_iterator(present.get()); each.rem > 0;
         xcb_randr_monitor_info_next(&each)) {
        if (each.data->automatic == 0) {
            xcb_randr_delete_monitor(xcb, connection.root(), each.data->name);
        }
    }

    // The first one takes the server's only output, or else the whole screen would be listed beside them.
    const xcb_randr_output_t output = *xcb_randr_get_screen_resources_current_outputs(resources.get());
    bool isFirst = true;
    for (const Monitor& monitor : monitors) {
        const X11Owned<xcb_generic_error_t> error(
            xcb_request_check(xcb, requestMonitor(connection, monitor, isFirst ? &output : nullptr)));
        if (error) {
            throw VirtualDisplayError::monitorsFailed(
                fmt::format("the server refused \"{}\" with error {}", monitor.name, error->error_code));
        }
        isFirst = false;
    }
}

} // namespace tavrin
