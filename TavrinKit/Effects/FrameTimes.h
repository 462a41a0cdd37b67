#pragma once

#include <cstdint>

namespace tavrin {

/// The times of the frames of a movie: i / fps for every i whose time lies strictly before the end.
///
/// The count is the ceiling of duration x fps, where a product that exceeds a whole number by no more than
/// what rounding leaves behind counts as that number: 7.000000000000001 makes 7 frames.
class FrameTimes {
public:
    /// @param duration  seconds; there are no frames unless it is positive and finite
    /// @param fps       frames per second; likewise
    FrameTimes(double duration, double fps);

    [[nodiscard]] std::int64_t count() const { return count_; }

    /// Seconds from the start of the movie, for any index.
    [[nodiscard]] double time(std::int64_t index) const;

private:
    double fps_;
    std::int64_t count_ = 0;
};

} // namespace tavrin
