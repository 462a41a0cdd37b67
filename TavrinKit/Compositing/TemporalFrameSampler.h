#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/TemporalFrameQuantizer.h"
#include "TavrinKit/Imaging/Image.h"

namespace tavrin {

/// Pictures of an asset at arbitrary times, through a cache by frames.
///
/// It lives on the clock and the duration of the asset it samples. An asset whose pictures come at uneven
/// times is sampled as though it showed one on every step of the quantizer's grid: each step has a key and a
/// time of its own, however long its picture has been on screen.
///
/// Any number of threads may sample at once; decoding happens outside the lock, with a decoder per thread
/// that is at it. Times that grow are read through, so whoever asks in order pays each picture once. Images
/// of consecutive pictures know what changed between them. Samples that show one picture hold the same image
/// as long as any of them is kept.
///
/// What is kept doesn't grow with the movie: at most `maximumEntries` samples, and of very large pictures no
/// more than `maximumBytes` hold, but always as many as one blurred frame needs; besides, up to four
/// decoders.
class TemporalFrameSampler {
public:
    static constexpr std::size_t maximumEntries = 64;
    static constexpr std::size_t maximumBytes = std::size_t(96) << 20; ///< of kept pictures

    struct Sample {
        Image image;
        double actualTimeSeconds = 0;    ///< when the picture begins, on the asset's clock; or that step
        std::int64_t actualFrameKey = 0; ///< the quantizer's key of that time
    };

    struct Options {
        TemporalFrameQuantizer quantizer;
        bool hasVariableTiming = false; ///< the asset's pictures come at uneven times
    };

    TemporalFrameSampler(MediaAsset asset, Options options);
    ~TemporalFrameSampler();
    TemporalFrameSampler(const TemporalFrameSampler&) = delete;
    TemporalFrameSampler& operator=(const TemporalFrameSampler&) = delete;

    /// @param time  seconds on the asset's clock, any value
    /// @return nothing when no picture can be decoded there; the first such failure is logged
    [[nodiscard]] std::optional<Sample> sample(double time) const;

    [[nodiscard]] const TemporalFrameQuantizer& quantizer() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
