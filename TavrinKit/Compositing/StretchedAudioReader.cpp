#include "TavrinKit/Compositing/StretchedAudioReader.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavrin {
namespace {

std::int64_t frameAt(double seconds, int rate) {
    constexpr double most = 4e18;
    return std::llround(std::clamp(seconds * rate, 0.0, most));
}

} // namespace

StretchedAudioReader::StretchedAudioReader(AudioFollower sound, const MediaStretches& stretches,
                                           int sampleRate, int channels)
    : sound_(std::move(sound)), channels_(std::size_t(channels)) {
    for (const MediaStretch& stretch : stretches) {
        parts_.push_back({frameAt(stretch.place.startTime, sampleRate),
                          frameAt(stretch.place.endTime, sampleRate),
                          frameAt(stretch.source.startTime, sampleRate), stretch.speed});
    }
}

void StretchedAudioReader::read(std::span<float> out) {
    while (!out.empty()) {
        while (current_ < parts_.size() && parts_[current_].end <= position_) {
            current_ += 1;
        }
        const bool hasPart = current_ < parts_.size();
        const bool isWithin = hasPart && parts_[current_].start <= position_;
        const std::int64_t until = !hasPart   ? INT64_MAX
                                   : isWithin ? parts_[current_].end
                                              : parts_[current_].start;
        const auto frames = std::min<std::int64_t>(std::int64_t(out.size() / channels_), until - position_);
        const std::span<float> run = out.first(std::size_t(frames) * channels_);
        if (isWithin) {
            readPart(parts_[current_], run);
        } else {
            std::fill(run.begin(), run.end(), 0.0F);
        }
        position_ += frames;
        out = out.subspan(run.size());
    }
}

void StretchedAudioReader::readPart(const Part& part, std::span<float> out) {
    sound_.read(part.source + position_ - part.start, out);
}

} // namespace tavrin
