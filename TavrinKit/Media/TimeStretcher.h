#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace tavrin {

/// Plays sound faster or slower without changing its pitch.
///
/// Frame n of the output is what the input has at frame n x speed: attacks keep their place to a few
/// milliseconds, and nothing drifts however long it runs. (Drawn out to four times its length a swell comes
/// up to 20 ms late, so that an attack doesn't come early.) It has no end of its own, and its memory doesn't
/// grow. One thread at a time.
class TimeStretcher {
public:
    /// Fills `out`, a whole number of interleaved frames, with the input from a frame on. Frames below 0 and
    /// behind the input's end are asked for too: what sounds around a stretch belongs to its sound.
    using Source = std::function<void(std::int64_t frame, std::span<float> out)>;

    struct Settings {
        int sampleRate = 48000; ///< 8000...192000 give the best sound
        int channels = 2;
        double speed = 1; ///< input per output, held to 1/16...16
    };

    TimeStretcher(const Settings& settings, Source source);
    ~TimeStretcher();
    TimeStretcher(const TimeStretcher&) = delete;
    TimeStretcher& operator=(const TimeStretcher&) = delete;

    /// Fills `out` with the next frames.
    /// @param out  a whole number of interleaved frames
    /// @throws what the source throws
    void read(std::span<float> out);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
