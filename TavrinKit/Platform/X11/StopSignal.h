#pragma once

#include <atomic>
#include <chrono>
#include <optional>

namespace tavrin {

/// How a thread that waits for a file descriptor or for a moment is told to end. Any thread.
class StopSignal {
public:
    using Clock = std::chrono::steady_clock;

    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Ends all waits, present and future ones.
    void request() noexcept;
    [[nodiscard]] bool isRequested() const noexcept { return isRequested_.load(); }

    /// Waits until the descriptor has something to read, the time has come, or the stop.
    void waitFor(int descriptor, std::optional<Clock::time_point> until = {}) const;

    /// Waits until the time has come or the stop.
    void waitUntil(Clock::time_point until) const { waitFor(-1, until); }
    /// @param descriptor  ends the wait too when it has something to read; -1: none
    void waitSeconds(double duration, int descriptor = -1) const {
        waitFor(descriptor, Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                               std::chrono::duration<double>(duration)));
    }

private:
    int descriptor_;
    std::atomic<bool> isRequested_{false};
};

} // namespace tavrin
