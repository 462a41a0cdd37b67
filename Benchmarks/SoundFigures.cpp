#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <thread>

#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ChildProcess.h"
#include "Figures.h"
#include "MotionPainter.h"
#include "Takes.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::bench {

namespace {

namespace fs = std::filesystem;

constexpr double takeSeconds = 15;
constexpr int rounds = 4;

/// A sound server without devices that plays a tone, for the processes that are started while it lives.
class SoundServer {
public:
    explicit SoundServer(const fs::path& folder) {
        const std::string socket = (folder / "pulse.socket").string();
        const std::string protocol = "module-native-protocol-unix auth-anonymous=1 socket=" + socket;
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            setenv("HOME", folder.c_str(), 1);
            setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
            execlp("pulseaudio", "pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--realtime=no",
                   "--high-priority=no", "--exit-idle-time=-1", "--log-level=0", "-L", "module-null-sink",
                   "-L", "module-sine frequency=440", "-L", protocol.c_str(), nullptr);
            _exit(127);
        }
        setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
        for (int wait = 0; !fs::exists(socket); ++wait) {
            if (wait > 500) {
                end();
                throw Error("No sound server could be started.");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    ~SoundServer() { end(); }
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

private:
    void end() const {
        unsetenv("PULSE_SERVER");
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }

    pid_t process_ = 0;
};

/// Processor seconds of a take.
double recordingCost(const std::string& display, const fs::path& folder, const char* sound) {
    return runChildOrThrow(
               {ownProgram(), "--record", display, folder.string(), fmt::format("{}", takeSeconds), sound})
        .cpuSeconds;
}

} // namespace

void captureSound(Takes& takes) {
    const VirtualDisplay display;
    const MotionPainter painter(display.name());
    const SoundServer server(takes.folder());
    // The least of several: what else runs on the machine can only make a take dearer.
    double with = std::numeric_limits<double>::max();
    double without = with;
    for (int round = 0; round < rounds; ++round) {
        without = std::min(without, recordingCost(display.name(), takes.folder(), "silent"));
        with = std::min(with, recordingCost(display.name(), takes.folder(), "sound"));
        say(fmt::format("{:.2f} with sound against {:.2f} CPU seconds", with, without));
    }
    printFigure("capture.sound.cpu", 100 * (with / without - 1), "%");
}

} // namespace tavrin::bench
