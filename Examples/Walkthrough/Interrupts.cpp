#include "Examples/Walkthrough/Interrupts.h"

#include <csignal>
#include <ctime>

namespace tavrin::demo {

namespace {

sigset_t watchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

} // namespace

Interrupts::Interrupts() {
    const sigset_t signals = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

Interrupts::~Interrupts() {
    thread_.request_stop();
}

std::stop_token Interrupts::beginStage() {
    return stage_.with([](std::stop_source& stage) {
        stage = std::stop_source();
        return stage.get_token();
    });
}

void Interrupts::run(const std::stop_token& stop) {
    const sigset_t signals = watchedSignals();
    const timespec patience{0, 200'000'000};
    while (!stop.stop_requested()) {
        if (sigtimedwait(&signals, nullptr, &patience) > 0) {
            stage_.copy().request_stop();
        }
    }
}

} // namespace tavrin::demo
