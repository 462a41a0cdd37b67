#include "TavrinKit/Media/StreamClock.h"

#include <algorithm>
#include <cmath>

namespace tavrin {
namespace {

constexpr double square(double value) {
    return value * value;
}

constexpr double initialSkewVariance = square(150e-6); // what crystals differ by
constexpr double skewWander = square(0.2e-6);          // per second
constexpr double timeWander = square(20e-6);           // per second
constexpr double leastNoise = square(0.3e-3);          // of any measurement
constexpr double mostSkew = 0.01;
constexpr double earliest = 0.010; // seconds before the expected: beyond, it contradicts
constexpr double latest = 0.040;   // and behind it
constexpr int contradictionsOfAJump = 3;
constexpr double leastLag = 0.002; // seconds
constexpr int lagsOfAShift = 100;
constexpr double lateDistrust = 4;
constexpr double settledVariance = square(2e-3);
constexpr int settledMeasurements = 8;

} // namespace

StreamClock::StreamClock(double sampleRate)
    : sampleRate_(sampleRate), skewVariance_(initialSkewVariance), noise_(leastNoise) {}

void StreamClock::measure(double frame, double hostTime, double uncertainty) {
    const double variance = square(uncertainty);
    if (!frame_) {
        startAt(frame, hostTime, variance + noise_);
        return;
    }
    predict(frame);
    const double error = hostTime - time_;
    const double expected = timeVariance_ + variance + noise_;
    const double most = error > 0 ? latest : earliest;
    if (std::abs(error) > std::max(most, 6 * std::sqrt(expected))) {
        if (++contradictions_ >= contradictionsOfAJump) {
            startAt(frame, hostTime, variance + noise_);
        }
        return;
    }
    contradictions_ = 0;
    const double late = std::max(error - 2 * std::sqrt(expected), 0.0);
    if (late > leastLag) {
        leastLate_ = lags_++ == 0 ? error : std::min(leastLate_, error);
        if (lags_ >= lagsOfAShift) { // what never was in time for so long has shifted
            startAt(frame, hostTime - error + leastLate_, variance + noise_);
            return;
        }
    } else {
        lags_ = 0;
        noise_ = std::max(leastNoise, noise_ + 0.05 * (square(error) - variance - timeVariance_ - noise_));
    }
    correct(error, variance + noise_ + lateDistrust * square(late));
}

void StreamClock::forgetTime() {
    frame_.reset();
}

bool StreamClock::isSettled() const {
    return frame_ && (timeVariance_ < settledVariance || measurements_ >= settledMeasurements);
}

double StreamClock::timeOf(double frame) const {
    return time_ + (frame - *frame_) / sampleRate_ * (1 + skew_);
}

void StreamClock::startAt(double frame, double hostTime, double variance) {
    frame_ = frame;
    time_ = hostTime;
    timeVariance_ = variance;
    covariance_ = 0;
    measurements_ = 1;
    contradictions_ = 0;
    lags_ = 0;
}

void StreamClock::predict(double frame) {
    const double step = (frame - *frame_) / sampleRate_; // seconds
    time_ = timeOf(frame);
    frame_ = frame;
    timeVariance_ += 2 * step * covariance_ + square(step) * skewVariance_ + timeWander * std::abs(step);
    covariance_ += step * skewVariance_;
    skewVariance_ += skewWander * std::abs(step);
}

void StreamClock::correct(double error, double variance) {
    const double total = timeVariance_ + variance;
    const double timeGain = timeVariance_ / total;
    const double skewGain = covariance_ / total;
    time_ += timeGain * error;
    skew_ = std::clamp(skew_ + skewGain * error, -mostSkew, mostSkew);
    skewVariance_ = std::max(skewVariance_ - skewGain * covariance_, 0.0);
    timeVariance_ *= 1 - timeGain;
    covariance_ *= 1 - timeGain;
    ++measurements_;
}

} // namespace tavrin
