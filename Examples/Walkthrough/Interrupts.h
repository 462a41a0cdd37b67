#pragma once

#include <stop_token>
#include <thread>

#include "TavrinKit/Support/Guarded.h"

namespace tavrin::demo {

/// Turns Ctrl-C and SIGTERM into stop requests, one stage of the program at a time.
///
/// Must be made before any other thread, so that all of them leave the signals to this one. Exists once.
class Interrupts {
public:
    Interrupts();
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    /// Begins a stage. What came in before it stays with the stages before.
    [[nodiscard]] std::stop_token beginStage();

private:
    void run(const std::stop_token& stop);

    Guarded<std::stop_source> stage_;
    std::jthread thread_;
};

} // namespace tavrin::demo
