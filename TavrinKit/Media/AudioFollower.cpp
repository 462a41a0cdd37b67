#include "TavrinKit/Media/AudioFollower.h"

#include <algorithm>

namespace tavrin {

AudioFollower::AudioFollower(const std::filesystem::path& path, int track, int sampleRate, int channels)
    : reader_(std::make_unique<AudioReader>(path, track, sampleRate, channels)), sampleRate_(sampleRate),
      channels_(std::size_t(channels)) {}

void AudioFollower::read(std::int64_t frame, std::span<float> out) {
    if (frame < 0) {
        const std::size_t frames = std::min(out.size() / channels_, std::size_t(-frame));
        std::fill_n(out.begin(), frames * channels_, 0.0F);
        out = out.subspan(frames * channels_);
        frame += std::int64_t(frames);
    }
    if (!out.empty() && frame != position_) {
        moveTo(frame);
    }
    position_ += std::int64_t(out.size() / channels_);
    while (!out.empty() && (taken_ < decoded_.size() || refill())) {
        const std::size_t count = std::min(out.size(), decoded_.size() - taken_);
        std::copy_n(decoded_.begin() + std::ptrdiff_t(taken_), count, out.begin());
        taken_ += count;
        out = out.subspan(count);
    }
    std::fill(out.begin(), out.end(), 0.0F);
}

void AudioFollower::moveTo(std::int64_t frame) {
    constexpr int nearby = 1; // seconds that are decoded as fast as they are sought
    std::int64_t left = frame - position_;
    if (left < 0 || left > std::int64_t(nearby) * sampleRate_) {
        reader_->seek(frame);
        decoded_.clear();
        taken_ = 0;
        hasEnded_ = false;
    } else {
        while (left > 0 && (taken_ < decoded_.size() || refill())) {
            const auto count = std::min<std::int64_t>(left, std::int64_t(decoded_.size() - taken_) /
                                                                std::int64_t(channels_));
            taken_ += std::size_t(count) * channels_;
            left -= count;
        }
    }
    position_ = frame;
}

bool AudioFollower::refill() {
    if (hasEnded_) {
        return false;
    }
    auto run = reader_->next();
    hasEnded_ = !run;
    if (run) {
        decoded_ = std::move(*run);
        taken_ = 0;
    }
    return !hasEnded_;
}

} // namespace tavrin
