#include "TavrinKit/Compositing/StretchedAudioReader.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavrin {
namespace {

constexpr double fadeDuration = 0.002; // seconds

std::int64_t frameAt(double seconds, int rate) {
    constexpr double most = 4e18;
    return std::llround(std::clamp(seconds * rate, 0.0, most));
}

} // namespace

StretchedAudioReader::StretchedAudioReader(AudioFollower sound, const MediaStretches& stretches,
                                           int sampleRate, int channels)
    : sound_(std::move(sound)), sampleRate_(sampleRate), channels_(std::size_t(channels)) {
    for (const MediaStretch& stretch : stretches) {
        const Part part{frameAt(stretch.place.startTime, sampleRate),
                        frameAt(stretch.place.endTime, sampleRate),
                        frameAt(stretch.source.startTime, sampleRate), stretch.speed};
        if (!parts_.empty() && continues(parts_.back(), part)) {
            parts_.back().end = part.end;
        } else if (part.start < part.end) {
            parts_.push_back(part);
        }
    }
    begin();
}

/// Whether the sound goes on from one part to the next as though there were no border.
bool StretchedAudioReader::continues(const Part& last, const Part& next) const {
    constexpr double rounding = 2; // frames
    const double end = double(last.source) + double(last.end - last.start) * last.speed;
    return last.end == next.start && last.speed == next.speed &&
           std::abs(double(next.source) - end) <= rounding;
}

void StretchedAudioReader::read(std::span<float> out) {
    while (!out.empty()) {
        const bool hasPart = current_ < parts_.size();
        const bool isWithin = hasPart && parts_[current_].start <= position_;
        const std::int64_t until = !hasPart   ? INT64_MAX
                                   : isWithin ? parts_[current_].end
                                              : parts_[current_].start;
        const auto frames = std::min<std::int64_t>(std::int64_t(out.size() / channels_), until - position_);
        const std::span<float> run = out.first(std::size_t(frames) * channels_);
        if (isWithin) {
            readPart(position_, run);
        } else {
            std::fill(run.begin(), run.end(), 0.0F);
        }
        fade(run);
        position_ += frames;
        out = out.subspan(run.size());
        if (isWithin && position_ == until) {
            leave();
        }
    }
}

/// Gets ready for the current part.
void StretchedAudioReader::begin() {
    stretcher_.reset();
    if (current_ < parts_.size() && parts_[current_].speed != 1) {
        stretcher_.emplace(
            TimeStretcher::Settings{sampleRate_, int(channels_), parts_[current_].speed},
            [this, source = parts_[current_].source](std::int64_t frame, std::span<float> out) {
                sound_.read(source + frame, out);
            });
    }
}

void StretchedAudioReader::leave() {
    tail_.resize(std::size_t(frameAt(fadeDuration, sampleRate_)) * channels_);
    readPart(position_, tail_);
    tailTaken_ = 0;
    current_ += 1;
    begin();
}

void StretchedAudioReader::readPart(std::int64_t position, std::span<float> out) {
    if (stretcher_) {
        stretcher_->read(out);
    } else {
        const Part& part = parts_[current_];
        sound_.read(part.source + position - part.start, out);
    }
}

/// Mixes in what is left of the tail.
void StretchedAudioReader::fade(std::span<float> out) {
    const std::size_t count = std::min(out.size(), tail_.size() - tailTaken_);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t frame = (tailTaken_ + i) / channels_;
        const float weight = 1 - float(frame + 1) / float(tail_.size() / channels_ + 1);
        out[i] += weight * (tail_[tailTaken_ + i] - out[i]);
    }
    tailTaken_ += count;
}

} // namespace tavrin
