#pragma once

#include <optional>

namespace tavrin {

/// When the frames of a device's stream happened, on the host clock, in spite of measurements that jitter.
///
/// A Kalman filter over offset and skew. Once it has settled it does what the delay-locked loop of
/// F. Adriaensen ("Using a DLL to filter time", 2005) does, but it weighs each measurement by how sure that
/// one is, needs no regular ones, and settles at once. A server counts frames late, by up to a buffer when it
/// takes back what it had rendered, but never early: who is late therefore counts less. Measurements that
/// contradict it three times in a row mean that the stream has jumped; it then starts anew from them. One
/// thread at a time.
class StreamClock {
public:
    /// @param sampleRate  nominal, frames per second
    explicit StreamClock(double sampleRate);

    /// @param frame        counted from the stream's start; may be between two frames
    /// @param hostTime     when it happened
    /// @param uncertainty  seconds, by which the time may be off
    void measure(double frame, double hostTime, double uncertainty);

    /// What is known of the frames so far says nothing about the next ones' times, only about their rate.
    void forgetTime();

    /// Whether `timeOf` can be relied on to some two milliseconds, or will not get better soon.
    [[nodiscard]] bool isSettled() const;

    /// Host clock. Only after a measurement, and after `forgetTime` only after another.
    [[nodiscard]] double timeOf(double frame) const;

private:
    void predict(double frame);
    void correct(double error, double variance);
    void startAt(double frame, double hostTime, double variance);

    const double sampleRate_;
    std::optional<double> frame_; ///< of the last measurement
    double time_ = 0;             ///< of that frame, estimated
    double skew_ = 0; ///< how much slower than nominal the device runs by the host clock, as in 200e-6
    double timeVariance_ = 0; ///< the covariance matrix, in seconds
    double covariance_ = 0;
    double skewVariance_;
    double noise_; ///< variance of the measurements as observed
    int measurements_ = 0;
    int contradictions_ = 0; ///< in a row
    int lags_ = 0;           ///< late measurements in a row
    double leastLate_ = 0;   ///< of those, seconds
};

} // namespace tavrin
