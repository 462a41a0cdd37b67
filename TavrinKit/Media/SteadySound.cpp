#include "TavrinKit/Media/SteadySound.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace tavrin {
namespace {

constexpr int tapCount = 32;
constexpr int halfTaps = tapCount / 2;
constexpr int phaseCount = 256;
constexpr std::int64_t chunk = 64;         // frames between two looks at the clock
constexpr std::int64_t trimLength = 16384; // frames

using Taps = std::array<float, tapCount>;

/// Bessel function I0, by its series.
double bessel(double x) {
    double sum = 1;
    double term = 1;
    for (int k = 1; term > sum * 1e-12; ++k) {
        term *= (x / (2 * k)) * (x / (2 * k));
        sum += term;
    }
    return sum;
}

/// What the samples from `halfTaps` - 1 before a place up to `halfTaps` after it weigh, for places between
/// two samples: a sinc within a Kaiser window, flat up to 20 kHz at 48 kHz.
std::vector<Taps> makeKernel() {
    constexpr double beta = 8; // 80 dB
    std::vector<Taps> kernel(phaseCount + 1);
    for (int phase = 0; phase <= phaseCount; ++phase) {
        std::array<double, tapCount> weights{};
        double sum = 0;
        for (int tap = 0; tap < tapCount; ++tap) {
            const double x = double(tap - (halfTaps - 1)) - double(phase) / phaseCount;
            const double inside = 1 - (x / halfTaps) * (x / halfTaps);
            const double window = inside > 0 ? bessel(beta * std::sqrt(inside)) / bessel(beta) : 0;
            const double angle = std::numbers::pi * x;
            weights[std::size_t(tap)] = window * (std::abs(x) < 1e-9 ? 1 : std::sin(angle) / angle);
            sum += weights[std::size_t(tap)];
        }
        for (int tap = 0; tap < tapCount; ++tap) {
            kernel[std::size_t(phase)][std::size_t(tap)] = float(weights[std::size_t(tap)] / sum);
        }
    }
    return kernel;
}

/// @param fraction  0...1, of the way to the next sample
void weigh(double fraction, Taps& taps) {
    static const std::vector<Taps> kernel = makeKernel();
    const double place = fraction * phaseCount;
    const auto phase = std::min(std::size_t(place), std::size_t(phaseCount - 1));
    const auto share = float(place - double(phase));
    const Taps& before = kernel[phase];
    const Taps& after = kernel[phase + 1];
    for (std::size_t tap = 0; tap < tapCount; ++tap) {
        taps[tap] = before[tap] + share * (after[tap] - before[tap]);
    }
}

float weighted(const Taps& taps, const float* samples) {
    std::array<float, 4> sums{}; // four sums, so that the compiler may go four samples at a time
    for (std::size_t tap = 0; tap < tapCount; tap += 4) {
        for (std::size_t lane = 0; lane < 4; ++lane) {
            sums[lane] += taps[tap + lane] * samples[tap + lane];
        }
    }
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

} // namespace

SteadySound::SteadySound(const Settings& settings, double startTime, std::int64_t position)
    : settings_(settings), startTime_(startTime), position_(position) {}

void SteadySound::append(std::span<const float> interleaved, double time) {
    const auto channels = std::size_t(settings_.channels);
    const auto frames = std::int64_t(interleaved.size() / channels);
    const double at = time - startTime_;
    if (frames == 0 || !std::isfinite(at)) {
        return;
    }
    const bool goesOn = !runs_.empty() &&
                        std::abs(at - timeOf(runs_.back(), double(runs_.back().end))) < settings_.shortestGap;
    if (!goesOn) {
        runs_.emplace_back().lanes.resize(channels);
    }
    Run& run = runs_.back();
    run.stamps.push_back({run.end, at});
    for (std::size_t channel = 0; channel < channels; ++channel) {
        std::vector<float>& lane = run.lanes[channel];
        const std::size_t before = lane.size();
        lane.resize(before + std::size_t(frames));
        for (std::size_t i = 0; i < std::size_t(frames); ++i) {
            lane[before + i] = interleaved[i * channels + channel];
        }
    }
    run.end += frames;
}

std::int64_t SteadySound::available() const {
    if (runs_.empty()) {
        return position_;
    }
    const Run& last = runs_.back();
    const double rate = settings_.sampleRate;
    const double start =
        last.hasBegun ? double(position_) : std::max(double(position_), last.stamps.front().time * rate);
    const double from =
        last.hasBegun ? last.position : double(last.first) + start - last.stamps.front().time * rate;
    const double frames = (double(last.end - halfTaps) - from) / (1 + settings_.mostCorrection);
    return std::max(position_, std::int64_t(std::floor(start + frames)));
}

void SteadySound::addTo(std::span<float> out) {
    const auto channels = std::size_t(settings_.channels);
    while (!out.empty()) {
        const auto frames = std::int64_t(out.size() / channels);
        std::int64_t done = frames;
        if (!runs_.empty()) {
            Run& run = runs_.front();
            done = begin(run, frames);
            if (done == 0) {
                done = render(run, out.first(std::size_t(std::min(frames, chunk)) * channels));
                dropUsed(run);
            }
            if (run.hasBegun && run.position >= double(run.end)) {
                runs_.pop_front();
            }
        }
        position_ += done;
        out = out.subspan(std::size_t(done) * channels);
    }
}

double SteadySound::timeOf(const Run& run, double frame) const {
    std::size_t index = 0;
    while (index + 1 < run.stamps.size() && double(run.stamps[index + 1].frame) <= frame) {
        ++index;
    }
    const Run::Stamp& stamp = run.stamps[index];
    return stamp.time + (frame - double(stamp.frame)) / settings_.sampleRate;
}

/// Starts the run when it is time for it.
/// @return frames of silence before it, `frames` at most
std::int64_t SteadySound::begin(Run& run, std::int64_t frames) {
    if (run.hasBegun) {
        return 0;
    }
    const double start = run.stamps.front().time * settings_.sampleRate;
    const double pause = std::ceil(start - double(position_));
    if (pause > 0) {
        return pause < double(frames) ? std::int64_t(pause) : frames;
    }
    run.position = double(position_) - start; // what should have sounded earlier is left out
    run.hasBegun = true;
    correction_ = 0;
    return 0;
}

/// @return frames written; fewer than asked where the run ends
std::int64_t SteadySound::render(Run& run, std::span<float> out) {
    const auto channels = std::size_t(settings_.channels);
    if (run.position >= double(run.end)) {
        return 0;
    }
    const double behind = double(position_) / settings_.sampleRate - timeOf(run, run.position);
    const double wanted =
        std::clamp(behind / settings_.correctionTime, -settings_.mostCorrection, settings_.mostCorrection);
    const double slew = settings_.correctionSlew * double(chunk) / settings_.sampleRate;
    correction_ += std::clamp(wanted - correction_, -slew, slew);

    Taps taps{};
    std::array<float, tapCount> edge{};
    const auto frames = std::int64_t(out.size() / channels);
    std::int64_t done = 0;
    for (; done < frames && run.position < double(run.end); ++done) {
        const double whole = std::floor(run.position);
        weigh(run.position - whole, taps);
        const std::int64_t firstTap = std::int64_t(whole) - (halfTaps - 1) - run.first;
        const std::int64_t length = run.end - run.first;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const std::vector<float>& lane = run.lanes[channel];
            const float* samples = edge.data();
            if (firstTap >= 0 && firstTap + tapCount <= length) {
                samples = lane.data() + firstTap;
            } else { // silence lies around a run
                for (std::int64_t tap = 0; tap < tapCount; ++tap) {
                    const std::int64_t at = firstTap + tap;
                    edge[std::size_t(tap)] = at >= 0 && at < length ? lane[std::size_t(at)] : 0.0F;
                }
            }
            out[std::size_t(done) * channels + channel] += weighted(taps, samples);
        }
        run.position += 1 + correction_;
    }
    return done;
}

void SteadySound::dropUsed(Run& run) const {
    const std::int64_t used = std::min(std::int64_t(run.position) - halfTaps, run.end) - run.first;
    if (used >= trimLength) {
        for (std::vector<float>& lane : run.lanes) {
            lane.erase(lane.begin(), lane.begin() + used);
        }
        run.first += used;
    }
    while (run.stamps.size() > 1 && double(run.stamps[1].frame) <= run.position) {
        run.stamps.pop_front();
    }
}

} // namespace tavrin
