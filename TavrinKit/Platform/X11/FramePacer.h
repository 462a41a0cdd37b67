#pragma once

#include <algorithm>
#include <chrono>

namespace tavrin {

/// Decides when the next picture may be taken, so that there are no more than one per interval on average.
///
/// Works against absolute times: a source that paints at the very rate of the limit, but never quite evenly,
/// loses nothing. Two pictures may therefore be as close as half an interval, when the one before them was
/// late; a picture that is later still doesn't earn more.
class FramePacer {
public:
    using Clock = std::chrono::steady_clock;

    explicit FramePacer(Clock::duration interval) : interval_(interval) {}

    /// From when on a picture may be taken; in the past when nothing holds it back.
    [[nodiscard]] Clock::time_point earliestNext() const { return due_ - interval_ / 2; }

    void didTake(Clock::time_point now) { due_ = std::max(due_, now) + interval_; }

private:
    Clock::duration interval_;
    Clock::time_point due_{}; ///< when the next one is due at an even pace
};

} // namespace tavrin
