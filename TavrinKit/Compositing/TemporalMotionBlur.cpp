#include "TavrinKit/Compositing/TemporalMotionBlur.h"

#include <algorithm>
#include <cmath>
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
        : inputs_(inputs), target_(source.extent()), centerTime_(centerTime), fallback_(source) {
        center_ = sampleAt(centerTime);
        if (center_ && !requiresCenterFrameReuse(center_->image.extent(), target_)) {
            fallback_ = center_->image;
        }
    }

    /// The picture at one of the times, through the camera of its instant.
    [[nodiscard]] Image term(double time) const {
        const std::optional<TemporalFrameSampler::Sample> sample = sampleAt(time);
        const Image picture = alignedTemporalSample(sample ? sample->image : fallback_, target_);
        const CameraTransform camera =
            inputs_.cameraAnimator.transform(cameraTime(sample, time), inputs_.zoomTrack);
        return applyCamera(picture, camera).cropped(target_);
    }

private:
    [[nodiscard]] std::optional<TemporalFrameSampler::Sample> sampleAt(double time) const {
        return inputs_.sampler != nullptr ? inputs_.sampler->sample(time) : std::nullopt;
    }

    /// Seconds on the recording's clock.
    [[nodiscard]] double cameraTime(const std::optional<TemporalFrameSampler::Sample>& sample,
                                    double time) const {
        const bool isFrame = sample && !requiresCenterFrameReuse(sample->image.extent(), target_);
        double edited = time;
        if (isFrame && center_ && center_->actualFrameKey == sample->actualFrameKey) {
            edited = centerTime_;
        } else if (isFrame) {
            edited = sample->actualTimeSeconds;
        }
        return inputs_.timeMapper.sourceTime(clampedTo(edited, 0, inputs_.timeMapper.editedDuration()));
    }

    const TemporalMotionBlurInputs& inputs_;
    Rect target_;
    double centerTime_;
    Image fallback_;
    std::optional<TemporalFrameSampler::Sample> center_;
};

} // namespace

Image applyTemporalMotionBlur(const Image& source, double centerTime, const MotionBlurTimes& sampleTimes,
                              const TemporalMotionBlurInputs& inputs) {
    const BlurredFrame frame(source, centerTime, inputs);
    std::vector<WeightedImage> terms;
    for (const double time : sampleTimes.empty() ? MotionBlurTimes{0} : sampleTimes) {
        terms.push_back({frame.term(time), 1});
    }
    return Image::mean(terms).over(source).cropped(source.extent());
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
