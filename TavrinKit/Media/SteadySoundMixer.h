#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <vector>

#include "TavrinKit/Media/SteadySound.h"

namespace tavrin {

/// The sum of several devices' sound as one unbroken run on the host clock. One thread at a time.
class SteadySoundMixer {
public:
    using Lane = std::uint64_t;
    /// @param interleaved  whole frames
    /// @param time         host clock time of the first
    using Deliver = std::function<void(std::vector<float> interleaved, double time)>;

    /// @param startTime  host clock time of the first frame
    SteadySoundMixer(const SteadySound::Settings& settings, double startTime, Deliver deliver);

    /// @return a lane without sound so far; never the same twice
    [[nodiscard]] Lane addLane();
    /// What the lane holds still sounds.
    void closeLane(Lane lane);
    /// Ignored for a closed lane.
    void append(Lane lane, std::span<const float> interleaved, double time);

    /// Whether all open lanes have sound up to a host clock time.
    [[nodiscard]] bool isAvailable(double time) const;

    /// Delivers whole pieces of a tenth of a second: as far as there is sound, and up to `patience` seconds
    /// before `now` in any case; silence stands where there is none.
    void deliver(double now, double patience);

    /// Delivers everything up to a host clock time.
    void deliverAll(double until);

private:
    struct Input {
        SteadySound sound;
        bool isClosed = false;
    };

    [[nodiscard]] std::int64_t frameAt(double time) const;
    [[nodiscard]] std::int64_t available() const;
    void deliverPiece(std::int64_t frames);

    const SteadySound::Settings settings_;
    const double startTime_;
    const Deliver deliver_;
    std::map<Lane, Input> inputs_;
    Lane nextLane_ = 0;
    std::int64_t position_ = 0; ///< the frame that is delivered next
};

} // namespace tavrin
