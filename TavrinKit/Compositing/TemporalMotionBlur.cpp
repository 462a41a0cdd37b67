#include "TavrinKit/Compositing/TemporalMotionBlur.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

constexpr double leastSide = 0.1;

bool hasSides(const Rect& rect) {
    return rect.width > leastSide && rect.height > leastSide;
}

/// One blurred frame.
class BlurredFrame {
public:
    BlurredFrame(const Image& source, double centerTime, const TemporalMotionBlurInputs& inputs)
        : inputs_(inputs), target_(source.extent()), centerTime_(centerTime), centerKey_(keyOf(centerTime)),
          center_(read(centerTime)), fallback_(isFrame(center_) ? center_->image : source) {}

    /// The pictures at the times, each through the camera of its instant. Times that show the same frame are
    /// one term, and it is looked up once.
    [[nodiscard]] std::vector<WeightedImage> terms(const MotionBlurTimes& times) const {
        std::vector<WeightedImage> terms;
        std::int64_t key = centerKey_;
        Sampled sample = center_;
        for (const double time : times) {
            const std::int64_t timeKey = keyOf(time);
            if (timeKey != key) {
                key = timeKey;
                sample = key == centerKey_ ? center_ : read(time);
            } else if (!terms.empty() && isFrame(sample)) {
                terms.back().weight += 1;
                continue;
            }
            terms.push_back({term(sample, time), 1});
        }
        return terms;
    }

private:
    using Sampled = std::optional<TemporalFrameSampler::Sample>;

    /// What tells the times that show different frames apart.
    [[nodiscard]] std::int64_t keyOf(double time) const {
        return inputs_.sampler != nullptr ? inputs_.sampler->quantizer().key(time) : 0;
    }

    [[nodiscard]] Sampled read(double time) const {
        return inputs_.sampler != nullptr ? inputs_.sampler->sample(time) : std::nullopt;
    }

    /// Whether a sample is a frame that can stand for the source.
    [[nodiscard]] bool isFrame(const Sampled& sample) const {
        return sample && !requiresCenterFrameReuse(sample->image.extent(), target_);
    }

    [[nodiscard]] Image term(const Sampled& sample, double time) const {
        const Image picture = alignedTemporalSample(sample ? sample->image : fallback_, target_);
        const CameraTransform camera =
            inputs_.cameraAnimator.transform(cameraTime(sample, time), inputs_.zoomTrack);
        return applyCamera(picture, camera).cropped(target_);
    }

    /// Seconds on the recording's clock.
    [[nodiscard]] double cameraTime(const Sampled& sample, double time) const {
        double edited = time;
        if (isFrame(sample)) {
            const bool isCenter = center_ && center_->actualFrameKey == sample->actualFrameKey;
            edited = isCenter ? centerTime_ : sample->actualTimeSeconds;
        }
        return inputs_.timeMapper.sourceTime(clampedTo(edited, 0, inputs_.timeMapper.editedDuration()));
    }

    const TemporalMotionBlurInputs& inputs_;
    Rect target_;
    double centerTime_;
    std::int64_t centerKey_;
    Sampled center_;
    Image fallback_;
};

} // namespace

Image applyTemporalMotionBlur(const Image& source, double centerTime, const MotionBlurTimes& sampleTimes,
                              const TemporalMotionBlurInputs& inputs) {
    const BlurredFrame frame(source, centerTime, inputs);
    return Image::mean(frame.terms(sampleTimes.empty() ? MotionBlurTimes{0} : sampleTimes))
        .over(source)
        .cropped(source.extent());
}

Image alignedTemporalSample(const Image& sample, const Rect& target) {
    const Rect& extent = sample.extent();
    if (std::abs(extent.width - target.width) < 0.5 && std::abs(extent.height - target.height) < 0.5) {
        const Vec2 shift = target.origin() - extent.origin();
        const bool isInPlace = std::abs(shift.x) < 0.0001 && std::abs(shift.y) < 0.0001;
        return (isInPlace ? sample : sample.translated(shift.x, shift.y)).cropped(target);
    }
    if (!hasSides(extent) || !hasSides(target)) {
        return sample.cropped(target);
    }
    return fill(sample, target);
}

bool requiresCenterFrameReuse(const Rect& sampledExtent, const Rect& targetExtent) {
    constexpr double aspectTolerance = 0.001;
    return !hasSides(sampledExtent) || !hasSides(targetExtent) ||
           std::abs(sampledExtent.size().aspectRatio() - targetExtent.size().aspectRatio()) > aspectTolerance;
}

} // namespace tavrin
