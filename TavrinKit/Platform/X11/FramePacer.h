#pragma once

#include <algorithm>
#include <limits>

namespace tavrin {

/// Decides when the next picture may be taken, so that there are no more than one per interval on average.
///
/// Works against absolute times: a source that paints at the very rate of the limit, but never quite evenly,
/// loses nothing. Two pictures may therefore be as close as half an interval, when the one before them was
/// late; a picture that is later still doesn't earn more. All times are seconds of one clock.
class FramePacer {
public:
    explicit FramePacer(double interval) : interval_(std::max(interval, 0.0)) {}

    /// From when on a picture may be taken; in the past when nothing holds it back.
    [[nodiscard]] double earliestNext() const { return due_ - interval_ / 2; }

    void didTake(double time) { due_ = std::max(due_, time) + interval_; }

private:
    double interval_;
    double due_ = std::numeric_limits<double>::lowest(); ///< when the next one is due at an even pace
};

} // namespace tavrin
