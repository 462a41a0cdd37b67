#include "TavrinKit/Compositing/TemporalFrameSampler.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>
#include <vector>

#include "TavrinKit/Compositing/EffectBakingLog.h"
#include "TavrinKit/Compositing/TemporalLRUCache.h"
#include "TavrinKit/Effects/MotionBlurPlan.h"
#include "TavrinKit/Imaging/FrameSequence.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {
namespace {

constexpr std::size_t mostIdleReaders = 4;

/// The samples of one frame and its centre.
constexpr std::size_t picturesOfOneFrame = maximumMotionBlurSamples + 1;

std::size_t bytesOf(const PixelBuffer& pixels) {
    std::size_t bytes = 0;
    for (int plane = 0; plane < pixels.planeCount(); ++plane) {
        bytes += std::size_t(std::abs(pixels.plane(plane).stride)) * std::size_t(pixels.plane(plane).height);
    }
    return bytes;
}

/// A picture of the movie as it is kept.
struct Picture {
    Image image;
    std::int64_t index = 0; ///< DecodedFrame's
    std::size_t bytes = 0;
    double time = 0; ///< when it begins
};

/// One decoder on its way through the movie, used by one thread at a time.
class PictureReader {
public:
    explicit PictureReader(const MediaAsset& asset) : path_(asset.path()), video_(asset.openVideo()) {}

    /// The time that was asked last.
    [[nodiscard]] double position() const { return position_; }

    [[nodiscard]] Picture picture(double time) {
        const std::optional<DecodedFrame> frame = video_->frame(time);
        if (!frame) {
            throw MediaError::decodingFailed(path_, "it has no picture that can be decoded");
        }
        position_ = time;
        if (image_.isEmpty() || index_ != frame->index) {
            image_ = sequence_.image(frame->pixels);
            index_ = frame->index;
        }
        return {image_, index_, bytesOf(frame->pixels), frame->time};
    }

private:
    std::filesystem::path path_;
    std::unique_ptr<AssetVideoReader> video_;
    FrameSequence sequence_;
    Image image_; ///< the last picture
    std::int64_t index_ = 0;
    double position_ = 0;
};

using Readers = std::vector<std::unique_ptr<PictureReader>>;

/// The one nearest before the time; if there is none, the one nearest behind it.
Readers::iterator nearestReader(Readers& readers, double time) {
    const auto isNearer = [&](const auto& a, const auto& b) {
        const bool aIsBefore = a->position() <= time;
        const bool bIsBefore = b->position() <= time;
        return aIsBefore != bIsBefore ? aIsBefore
                                      : std::abs(a->position() - time) < std::abs(b->position() - time);
    };
    return std::min_element(readers.begin(), readers.end(), isNearer);
}

} // namespace

struct TemporalFrameSampler::Implementation {
    struct KeptSample {
        Sample sample;
        std::int64_t index = 0;
        std::size_t bytes = 0;
    };
    using Cache = TemporalLRUCache<TemporalSampleCacheKey, KeptSample>;

    struct State {
        Cache cache{maximumEntries};
        Readers idle;
        bool hasLoggedSampleFailure = false;
    };

    std::optional<Sample> kept(const TemporalSampleCacheKey& key);
    std::optional<Picture> decode(double time);
    std::unique_ptr<PictureReader> generatorForCurrentThread(double time);
    void giveBack(std::unique_ptr<PictureReader> reader);
    void logFailure(const std::exception_ptr& error);
    Sample keep(std::int64_t key, double time, Picture picture);
    static void holdToBytes(Cache& cache);

    MediaAsset asset;
    Options options;
    Guarded<State> state;
};

std::optional<TemporalFrameSampler::Sample>
TemporalFrameSampler::Implementation::kept(const TemporalSampleCacheKey& key) {
    return state.with([&](State& s) -> std::optional<Sample> {
        s.cache.touch(key);
        const KeptSample* found = s.cache.find(key);
        return found != nullptr ? std::optional(found->sample) : std::nullopt;
    });
}

std::optional<Picture> TemporalFrameSampler::Implementation::decode(double time) {
    try {
        std::unique_ptr<PictureReader> reader = generatorForCurrentThread(time);
        Picture picture = reader->picture(time);
        giveBack(std::move(reader));
        return picture;
    } catch (...) {
        logFailure(std::current_exception());
        return std::nullopt;
    }
}

/// A reader that nobody else uses meanwhile: as many exist as threads decode at once.
std::unique_ptr<PictureReader> TemporalFrameSampler::Implementation::generatorForCurrentThread(double time) {
    auto idle = state.with([&](State& s) -> std::unique_ptr<PictureReader> {
        const auto nearest = nearestReader(s.idle, time);
        if (nearest == s.idle.end()) {
            return nullptr;
        }
        auto reader = std::move(*nearest);
        s.idle.erase(nearest);
        return reader;
    });
    return idle ? std::move(idle) : std::make_unique<PictureReader>(asset);
}

void TemporalFrameSampler::Implementation::giveBack(std::unique_ptr<PictureReader> reader) {
    state.with([&](State& s) {
        if (s.idle.size() < mostIdleReaders) {
            s.idle.push_back(std::move(reader));
        }
    });
}

void TemporalFrameSampler::Implementation::logFailure(const std::exception_ptr& error) {
    const bool isFirst = state.with([](State& s) { return !std::exchange(s.hasLoggedSampleFailure, true); });
    if (isFirst) {
        logEffectBakingRecoverableFailure("TemporalFrameSampler.sample.copyCGImage", error,
                                          {{"path", asset.path().string()}});
    }
}

/// Remembers a decoded picture for the time asked, and for its own frame as far as it is known to be on
/// screen then.
TemporalFrameSampler::Sample TemporalFrameSampler::Implementation::keep(std::int64_t key, double time,
                                                                        Picture picture) {
    const TemporalFrameQuantizer& quantizer = options.quantizer;
    Sample sample{std::move(picture.image), picture.time, quantizer.key(picture.time)};
    if (options.hasVariableTiming) {
        sample.actualTimeSeconds = double(key) * quantizer.frameStep;
        sample.actualFrameKey = key;
    }
    const double actualSampleTime = quantizer.sampleTime(sample.actualFrameKey);
    const bool isShownAtOwnFrame = actualSampleTime >= picture.time && actualSampleTime < time;
    return state.with([&](State& s) {
        // Another thread's reader may have brought the same picture: one image for both.
        for (const Cache::Entry& entry : s.cache.entries()) {
            if (entry.value.index == picture.index) {
                sample.image = entry.value.sample.image;
                break;
            }
        }
        const KeptSample kept{sample, picture.index, picture.bytes};
        if (isShownAtOwnFrame) {
            s.cache.insert(kept, quantizer.cacheKey(actualSampleTime));
        }
        s.cache.insert(kept, quantizer.cacheKey(time));
        holdToBytes(s.cache);
        return sample;
    });
}

void TemporalFrameSampler::Implementation::holdToBytes(Cache& cache) {
    std::vector<std::int64_t> indices;
    std::size_t bytes = 0;
    const auto& entries = cache.entries();
    std::size_t fitting = 0;
    for (; fitting < entries.size(); ++fitting) { // from the last used
        const KeptSample& kept = entries[entries.size() - 1 - fitting].value;
        if (std::find(indices.begin(), indices.end(), kept.index) == indices.end()) {
            indices.push_back(kept.index);
            bytes += kept.bytes;
        }
        if (bytes > maximumBytes && indices.size() > picturesOfOneFrame) {
            break;
        }
    }
    while (cache.entries().size() > fitting) {
        cache.removeOldest();
    }
}

TemporalFrameSampler::TemporalFrameSampler(MediaAsset asset, Options options)
    : implementation_(new Implementation{std::move(asset), options, {}}) {}

TemporalFrameSampler::~TemporalFrameSampler() = default;

std::optional<TemporalFrameSampler::Sample> TemporalFrameSampler::sample(double time) const {
    const TemporalFrameQuantizer& quantizer = implementation_->options.quantizer;
    const std::int64_t key = quantizer.key(time);
    const double sampleTime = quantizer.sampleTime(key);
    if (!std::isfinite(sampleTime)) {
        return std::nullopt;
    }
    if (auto kept = implementation_->kept(quantizer.cacheKey(sampleTime))) {
        return kept;
    }
    // A step of uneven pictures shows what was on screen when it began, not what came a little later.
    const bool isStep = implementation_->options.hasVariableTiming;
    const double shownTime = isStep ? std::min(double(key) * quantizer.frameStep, sampleTime) : sampleTime;
    std::optional<Picture> picture = implementation_->decode(shownTime);
    if (!picture) {
        return std::nullopt;
    }
    return implementation_->keep(key, sampleTime, std::move(*picture));
}

const TemporalFrameQuantizer& TemporalFrameSampler::quantizer() const {
    return implementation_->options.quantizer;
}

} // namespace tavrin
