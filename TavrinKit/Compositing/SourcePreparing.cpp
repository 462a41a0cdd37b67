#include "TavrinKit/Compositing/SourcePreparing.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Imaging/FrameSequence.h"

namespace tavrin {
namespace {

/// One run's reading.
class SourceRun {
public:
    SourceRun(MediaAsset asset, TimelineTimeMapper timeMapper, SampledSources sources)
        : asset_(std::move(asset)), timeMapper_(std::move(timeMapper)), sources_(std::move(sources)) {}

    [[nodiscard]] std::optional<Image> picture(double time) {
        prepareCamera(time);
        auto sampled = sources_.motionBlur ? blurredPicture(*sources_.motionBlur, time) : std::nullopt;
        return sampled ? sampled : readPicture(time);
    }

private:
    void prepareCamera(double time) const {
        if (sources_.camera) {
            const double cameraTime = sources_.camera->cameraTime(timeMapper_.sourceTime(time));
            static_cast<void>(sources_.camera->sampler->sample(cameraTime));
        }
    }

    /// Samples in the order of time, the frame's own among them, so that no decoder has to go back. Those
    /// times that show the same are asked for once.
    [[nodiscard]] std::optional<Image> blurredPicture(const FrameCompositor::MotionBlur& blur,
                                                      double time) const {
        const TemporalFrameQuantizer& quantizer = blur.sampler->quantizer();
        const std::int64_t centerKey = quantizer.key(time);
        std::optional<Image> center;
        std::int64_t lastKey = -1;
        const auto prepare = [&](double sampleTime) {
            const std::int64_t key = quantizer.key(sampleTime);
            if (key > lastKey) {
                lastKey = key;
                const auto sample = blur.sampler->sample(sampleTime);
                center = sample && key == centerKey ? sample->image : center;
            }
        };
        for (const double sampleTime :
             MotionBlurEngine::sampleTimes(time, timeMapper_.editedDuration(), blur.plan)) {
            if (sampleTime >= time) {
                prepare(time);
            }
            prepare(sampleTime);
        }
        prepare(time);
        return center;
    }

    [[nodiscard]] std::optional<Image> readPicture(double time) {
        if (!reader_) {
            reader_ = asset_.openVideo();
        }
        const std::optional<DecodedFrame> frame = reader_->frame(time);
        return frame ? std::optional(sequence_.image(frame->pixels)) : std::nullopt;
    }

    const MediaAsset asset_;
    const TimelineTimeMapper timeMapper_;
    const SampledSources sources_;
    std::unique_ptr<AssetVideoReader> reader_; ///< once it is needed
    FrameSequence sequence_;
};

} // namespace

std::function<SourcePreparation()> sourceOpener(const MediaAsset& asset, const TimelineTimeMapper& timeMapper,
                                                const SampledSources& sources) {
    if (!sources.motionBlur && !sources.camera) {
        return {};
    }
    return [asset, timeMapper, sources]() -> SourcePreparation {
        const auto run = std::make_shared<SourceRun>(asset, timeMapper, sources);
        return [run](double time) {
            return run->picture(time);
        };
    };
}

} // namespace tavrin
