#include "Fixtures/PulseServer.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavrin::test {
namespace {

constexpr auto patience = std::chrono::seconds(20);

std::vector<std::string> commandLine(const PrivateHome& home, const std::vector<std::string>& modules) {
    std::vector<std::string> words{"pulseaudio",         "-n",
                                   "--daemonize=no",     "--use-pid-file=no",
                                   "--realtime=no",      "--high-priority=no",
                                   "--disable-shm",      "--exit-idle-time=-1",
                                   "--log-target=stderr"};
    const auto load = [&words](const std::string& module) {
        words.insert(words.end(), {"-L", module});
    };
    load("module-null-sink sink_name=speakers");
    for (const std::string& module : modules) {
        load(module);
    }
    // The last one: who finds its socket finds everything.
    load("module-native-protocol-unix auth-anonymous=1 socket=" + home.pulseSocket());
    return words;
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

bool hasEnded(pid_t process) {
    siginfo_t information{};
    return waitid(P_PID, id_t(process), &information, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           information.si_pid != 0;
}

bool accepts(const std::string& path) {
    const sockaddr_un address = addressOf(path);
    const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(client);
    return connected;
}

} // namespace

PrivateHome::PrivateHome() {
    std::filesystem::create_directory(folder_ / "pulse");
    std::filesystem::permissions(folder_ / "pulse", std::filesystem::perms::owner_all);
    const std::map<std::string, std::optional<std::string>> own{{"HOME", folder_.path()},
                                                                {"XDG_RUNTIME_DIR", folder_.path()},
                                                                {"XDG_CONFIG_HOME", folder_.path()},
                                                                {"PULSE_SERVER", std::nullopt},
                                                                {"PULSE_RUNTIME_PATH", std::nullopt},
                                                                {"PULSE_COOKIE", std::nullopt},
                                                                {"DBUS_SESSION_BUS_ADDRESS", std::nullopt}};
    for (const auto& [name, value] : own) {
        const char* before = std::getenv(name.c_str());
        earlier_[name] = before != nullptr ? std::optional<std::string>(before) : std::nullopt;
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }
}

PrivateHome::~PrivateHome() {
    for (const auto& [name, value] : earlier_) {
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }
}

PulseServer::PulseServer(const PrivateHome& home, const std::vector<std::string>& modules)
    : process_(commandLine(home, modules)) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!accepts(home.pulseSocket())) {
        if (std::chrono::steady_clock::now() > deadline || hasEnded(process_.processID())) {
            process_.signal(SIGKILL);
            throw std::runtime_error("no sound server: " + process_.wait().errors);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

SilentPulseServer::SilentPulseServer(const PrivateHome& home)
    : listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_un address = addressOf(home.pulseSocket());
    unlink(address.sun_path); // a server that was killed leaves it
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_, 16) != 0) { // the kernel accepts for us
        throw std::runtime_error("no socket");
    }
}

SilentPulseServer::~SilentPulseServer() {
    close(listener_);
}

} // namespace tavrin::test
