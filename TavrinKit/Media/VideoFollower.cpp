#include "TavrinKit/Media/VideoFollower.h"

#include <utility>

namespace tavrin {
namespace {

/// Nearer pictures are decoded through even when a key frame lies on the way: a seek empties the decoder.
constexpr double nearby = 0.5;

} // namespace

VideoFollower::VideoFollower(std::unique_ptr<VideoReader> reader) : reader_(std::move(reader)) {}

std::optional<DecodedFrame> VideoFollower::frame(double time) {
    const bool isBack = current_ && time + VideoReader::timeTolerance < current_->time && !isFirst_;
    const bool isFarAhead =
        following_ && time > following_->time + nearby && reader_->hasKeyFrameBetween(following_->time, time);
    if (!started_ || isBack || isFarAhead) {
        start(time);
    }
    while (following_ && following_->time <= time + VideoReader::timeTolerance) {
        advance();
        isFirst_ = false;
    }
    return current_;
}

void VideoFollower::start(double time) {
    reader_->seek(time);
    started_ = true;
    current_ = reader_->next();
    following_ = current_ ? reader_->next() : std::nullopt;
    // A picture that begins behind the time asked is the first of the movie.
    isFirst_ = current_ && current_->time > time + VideoReader::timeTolerance;
}

void VideoFollower::advance() {
    current_ = std::move(following_);
    following_ = reader_->next();
}

} // namespace tavrin
