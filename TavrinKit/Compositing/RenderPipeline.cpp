#include "TavrinKit/Compositing/RenderPipeline.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <span>
#include <thread>
#include <utility>

#include "TavrinKit/Compositing/ExportError.h"
#include "TavrinKit/Compositing/MixedSound.h"
#include "TavrinKit/Effects/FrameTimes.h"
#include "TavrinKit/Imaging/FrameSequence.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

constexpr std::size_t decodedAhead = 4;
constexpr std::size_t drawnAhead = 2;
// Those that wait, the one being encoded and the one being drawn.
constexpr std::size_t bufferCount = drawnAhead + 2;

/// Cuts a movie's sound into the stretches that go with its frames, so that both reach the file side by side.
class SoundTrack {
public:
    explicit SoundTrack(const RenderPipeline::Plan& plan)
        : sampleRate_(plan.sound->sampleRate), end_(std::llround(plan.asset.duration() * sampleRate_)),
          sound_(plan.asset, plan.audioMix, *plan.sound) {}

    /// What is heard before `time` and wasn't given out yet.
    [[nodiscard]] std::vector<float> until(double time) {
        const long long end = std::min(std::llround(time * sampleRate_), end_);
        if (end <= position_) {
            return {};
        }
        const std::span<const float> stretch = sound_.next(std::size_t(end - position_));
        position_ = end;
        return {stretch.begin(), stretch.end()};
    }

private:
    const int sampleRate_;
    const long long end_;
    MixedSound sound_;
    long long position_ = 0;
};

} // namespace

RenderPipeline::RenderPipeline(Plan plan, MovieWriter& writer)
    : plan_(std::move(plan)), writer_(writer), decoded_(decodedAhead), blank_(bufferCount),
      drawn_(drawnAhead) {}

std::int64_t RenderPipeline::frameCount(const MediaAsset& asset, int framesPerSecond) {
    constexpr double durationRounding = 1e-6;
    const std::int64_t count = FrameTimes(asset.duration() - durationRounding, framesPerSecond).count();
    if (count == 0) {
        throw MediaError::unreadable(asset.path(), "it doesn't say how long it is");
    }
    return count;
}

std::unique_ptr<MovieWriter> RenderPipeline::openWriter(const MovieWriterSettings& settings) {
    try {
        return std::make_unique<MovieWriter>(settings);
    } catch (const MediaError& error) {
        if (error.kind() == MediaErrorKind::encoderRefused) {
            throw ExportError::unableToCreateSession(std::current_exception());
        }
        throw;
    }
}

template <typename Stage>
void RenderPipeline::guarded(Stage stage) noexcept {
    try {
        stage();
    } catch (...) {
        failure_.with([error = std::current_exception()](std::exception_ptr& first) {
            if (!first) {
                first = error;
            }
        });
        stop_.request_stop();
    }
}

void RenderPipeline::run(const ProgressHandler& onProgress, const std::stop_token& stop) {
    const std::stop_callback forward(stop, [this] { stop_.request_stop(); });
    {
        std::jthread decoder;
        std::jthread painter;
        guarded([&] {
            decoder = std::jthread([this] { guarded([this] { decode(); }); });
            painter = std::jthread([this] { guarded([this] { draw(); }); });
            encode(onProgress);
        });
    }
    throwIfCancelled(stop);
    if (const std::exception_ptr failure = failure_.copy()) {
        std::rethrow_exception(failure);
    }
}

void RenderPipeline::decode() {
    const PictureReader read = openPictures();
    std::optional<SoundTrack> sound;
    if (plan_.sound) {
        sound.emplace(plan_);
    }
    std::optional<SourcePicture> current;
    for (std::int64_t frame = 0; frame < plan_.frameCount; ++frame) {
        if (auto picture = read(timeOf(frame))) {
            current = std::move(picture);
        }
        if (!current) {
            throw MediaError::decodingFailed(plan_.asset.path(), "it has no picture that can be decoded");
        }
        Sound heard = sound ? sound->until(timeOf(frame + 1)) : Sound();
        if (!decoded_.push({*current, std::move(heard)}, stop_.get_token())) {
            return;
        }
    }
    decoded_.close();
}

RenderPipeline::PictureReader RenderPipeline::openPictures() const {
    if (plan_.composition && plan_.composition->openSource) {
        return [prepare = plan_.composition->openSource()](double time) -> std::optional<SourcePicture> {
            std::optional<Image> image = prepare(time);
            return image ? std::optional(SourcePicture{{}, std::move(*image)}) : std::nullopt;
        };
    }
    // The function is copied about, what it reads is not.
    const auto movie = std::shared_ptr<AssetVideoReader>(plan_.asset.openVideo());
    const auto sequence = std::make_shared<FrameSequence>();
    return [movie, sequence, index = std::optional<std::int64_t>(),
            last = SourcePicture()](double time) mutable -> std::optional<SourcePicture> {
        std::optional<DecodedFrame> decoded = movie->frame(time);
        if (!decoded) {
            return std::nullopt;
        }
        if (index != decoded->index) {
            index = decoded->index;
            last = {decoded->pixels, sequence->image(decoded->pixels)};
        }
        return last;
    };
}

void RenderPipeline::draw() {
    const std::stop_token stop = stop_.get_token();
    ImageRenderer renderer;
    if (plan_.composition) {
        for (std::size_t i = 0; i < bufferCount; ++i) {
            blank_.push(PixelBuffer::allocate(PixelFormat::i420, plan_.frameSize));
        }
    }
    for (std::int64_t frame = 0; auto decoded = decoded_.pop(stop); ++frame) {
        PixelBuffer target = decoded->picture.pixels;
        if (plan_.composition) {
            const Image image = compose(decoded->picture, frame);
            auto blank = blank_.pop(stop);
            if (!blank) {
                return;
            }
            target = std::move(*blank);
            renderer.render(image, target);
        }
        if (!drawn_.push({std::move(target), std::move(decoded->sound)}, stop)) {
            return;
        }
    }
    drawn_.close();
}

Image RenderPipeline::compose(const SourcePicture& picture, std::int64_t frame) const {
    const VideoComposition& composition = *plan_.composition;
    const Image image = composition.handler({timeOf(frame), picture.image});
    if (composition.renderSize == plan_.frameSize) {
        return image;
    }
    const Rect rendered{0, 0, double(composition.renderSize.width), double(composition.renderSize.height)};
    return image.cropped(rendered).clampedToExtent().transformed(
        AffineTransform::scale(plan_.frameSize.width / std::max(rendered.width, 1.0),
                               plan_.frameSize.height / std::max(rendered.height, 1.0)));
}

void RenderPipeline::encode(const ProgressHandler& onProgress) {
    const std::stop_token stop = stop_.get_token();
    std::size_t soundFrames = 0; // appended so far
    for (std::int64_t frame = 0; frame < plan_.frameCount; ++frame) {
        auto drawn = drawn_.pop(stop);
        if (!drawn) {
            throw CancellationError();
        }
        writer_.appendVideo(drawn->picture, timeOf(frame));
        if (plan_.composition) {
            blank_.push(std::move(drawn->picture), stop);
        }
        if (!drawn->sound.empty()) {
            writer_.appendAudio(drawn->sound, double(soundFrames) / plan_.sound->sampleRate);
            soundFrames += drawn->sound.size() / std::size_t(plan_.sound->channels);
        }
        if (onProgress) {
            onProgress(std::clamp(timeOf(frame) / plan_.asset.duration(), 0.0, 0.99));
        }
    }
}

} // namespace tavrin
