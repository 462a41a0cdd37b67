#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace tavrin {

/// Turns the sound of a device with a clock of its own into an unbroken run on the host clock.
///
/// Blocks go in with the time of their first frame; frame n that comes out is what sounded at
/// `startTime` + n / `sampleRate`. Where the device runs fast or slow the sound is resampled, by so little,
/// and changing so slowly, that nobody hears it. Where its times jump ahead there is silence of that length;
/// where they jump back, what lies before the place reached is left out. One thread at a time.
class SteadySound {
public:
    struct Settings {
        int sampleRate = 48000; ///< in and out
        int channels = 2;
        double shortestGap = 0.020;    ///< seconds; times that differ by less from the expected are drift
        double correctionTime = 2;     ///< seconds until an error has shrunk to a third
        double mostCorrection = 0.003; ///< share of the speed: a twentieth of a semitone
        double correctionSlew = 0.002; ///< change of that per second
    };

    /// @param startTime  host clock time of frame 0
    /// @param position   the frame that comes out first
    SteadySound(const Settings& settings, double startTime, std::int64_t position = 0);

    /// @param interleaved  whole frames
    /// @param time         host clock time of the first
    void append(std::span<const float> interleaved, double time);

    /// The frame up to which reading gives what was appended: behind it lies silence, as yet.
    [[nodiscard]] std::int64_t available() const;

    /// Adds the next frames to what is in `out`.
    /// @param out  whole frames, interleaved
    void addTo(std::span<float> out);

    /// The frame that comes out next.
    [[nodiscard]] std::int64_t position() const { return position_; }

private:
    /// Sound without a gap, one lane a channel.
    struct Run {
        struct Stamp {
            std::int64_t frame;
            double time; ///< seconds from the start
        };
        std::vector<std::vector<float>> lanes;
        std::int64_t first = 0; ///< frame in the run of the lanes' first sample
        std::int64_t end = 0;
        std::deque<Stamp> stamps;
        double position = 0; ///< frame of the run that sounds at `position_`
        bool hasBegun = false;
    };

    [[nodiscard]] double timeOf(const Run& run, double frame) const;
    [[nodiscard]] std::int64_t begin(Run& run, std::int64_t frames);
    [[nodiscard]] std::int64_t render(Run& run, std::span<float> out);
    void dropUsed(Run& run) const;

    const Settings settings_;
    const double startTime_;
    std::int64_t position_;
    std::deque<Run> runs_;
    double correction_ = 0; ///< of the speed
};

} // namespace tavrin
