#include "TavrinKit/Media/TimeStretcher.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <rubberband/RubberBandStretcher.h>

namespace tavrin {
namespace {

using RubberBand::RubberBandStretcher;

constexpr std::size_t blockSize = 1024; // frames

constexpr RubberBandStretcher::Options options =
    RubberBandStretcher::OptionProcessRealTime | RubberBandStretcher::OptionEngineFiner |
    RubberBandStretcher::OptionChannelsTogether | RubberBandStretcher::OptionThreadingNever;

/// The library sets an attack where its window first sees it, this share of its delay before the attack's
/// place, and then draws that out. Measured; both go with the size of its window.
constexpr double attackLead = 0.148;

/// Input before the start, so that the sound has come to a steady state there.
constexpr std::int64_t warmUp = 4096; // frames

/// How early attacks come out, in frames of the output.
std::int64_t attackAdvance(double ratio, std::size_t delay) {
    return ratio > 1 ? std::llround(attackLead * (ratio - 1) * double(delay)) : 0;
}

} // namespace

struct TimeStretcher::Implementation {
    Implementation(const Settings& settings, Source theSource);

    void feed();
    void retrieve(std::size_t frames, float* out);

    const std::size_t channels;
    Source source;
    RubberBandStretcher stretcher;
    std::int64_t inputPosition = 0; ///< the input frame that is fed next
    std::int64_t toDrop = 0;        ///< output frames before the first
    std::vector<float> interleaved;
    std::vector<float> planes; ///< one block a channel
    std::vector<float*> planeStarts;
};

TimeStretcher::Implementation::Implementation(const Settings& settings, Source theSource)
    : channels(std::size_t(std::max(settings.channels, 1))), source(std::move(theSource)),
      stretcher(std::size_t(std::max(settings.sampleRate, 1)), channels, options,
                1 / std::clamp(settings.speed, 1.0 / 16, 16.0), 1),
      interleaved(blockSize * channels), planes(blockSize * channels) {
    for (std::size_t i = 0; i < channels; ++i) {
        planeStarts.push_back(planes.data() + i * blockSize);
    }
    stretcher.setMaxProcessSize(blockSize);
    const double ratio = stretcher.getTimeRatio();
    const std::size_t delay = stretcher.getStartDelay();
    inputPosition = -std::int64_t(stretcher.getPreferredStartPad()) - warmUp;
    toDrop = std::llround(double(warmUp) * ratio) + std::int64_t(delay) - attackAdvance(ratio, delay);
}

void TimeStretcher::Implementation::feed() {
    const std::size_t frames = std::clamp<std::size_t>(stretcher.getSamplesRequired(), 1, blockSize);
    source(inputPosition, std::span(interleaved).first(frames * channels));
    inputPosition += std::int64_t(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t c = 0; c < channels; ++c) {
            const float sample = interleaved[i * channels + c];
            planeStarts[c][i] = std::isfinite(sample) ? sample : 0.0F;
        }
    }
    stretcher.process(planeStarts.data(), frames, false);
}

/// @param frames  at most a block, and as many as there are
/// @param out     null: they are dropped
void TimeStretcher::Implementation::retrieve(std::size_t frames, float* out) {
    const std::size_t count = stretcher.retrieve(planeStarts.data(), frames);
    for (std::size_t i = 0; out != nullptr && i < count; ++i) {
        for (std::size_t c = 0; c < channels; ++c) {
            out[i * channels + c] = planeStarts[c][i];
        }
    }
}

TimeStretcher::TimeStretcher(const Settings& settings, Source source)
    : implementation_(std::make_unique<Implementation>(settings, std::move(source))) {}

TimeStretcher::~TimeStretcher() = default;

void TimeStretcher::read(std::span<float> out) {
    Implementation& self = *implementation_;
    while (!out.empty()) {
        const auto available = std::size_t(std::max(self.stretcher.available(), 0));
        const std::size_t wanted = self.toDrop > 0 ? std::size_t(self.toDrop) : out.size() / self.channels;
        const std::size_t frames = std::min({available, wanted, blockSize});
        if (frames == 0) {
            self.feed();
        } else if (self.toDrop > 0) {
            self.retrieve(frames, nullptr);
            self.toDrop -= std::int64_t(frames);
        } else {
            self.retrieve(frames, out.data());
            out = out.subspan(frames * self.channels);
        }
    }
}

} // namespace tavrin
