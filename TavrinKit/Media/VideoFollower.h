#pragma once

#include <memory>
#include <optional>

#include "TavrinKit/Media/VideoReader.h"

namespace tavrin {

/// Follows a movie along a clock: the picture on screen at each time asked.
///
/// Times that grow are read through without seeking; a step back, or ahead over a key frame, seeks. Times are
/// compared to half a microsecond. One thread at a time.
class VideoFollower {
public:
    explicit VideoFollower(std::unique_ptr<VideoReader> reader);

    /// The last picture shown at or before `time`; the first of the movie for an earlier time.
    /// @return nothing only when the movie has no picture at all
    /// @throws MediaError
    [[nodiscard]] std::optional<DecodedFrame> frame(double time);

private:
    void start(double time);
    void advance();

    std::unique_ptr<VideoReader> reader_;
    std::optional<DecodedFrame> current_;
    std::optional<DecodedFrame> following_;
    bool started_ = false;
    bool isFirst_ = false; ///< `current_` is the movie's first picture, asked for with an earlier time
};

} // namespace tavrin
