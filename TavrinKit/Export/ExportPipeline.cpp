#include "TavrinKit/Export/ExportPipeline.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <thread>

#include "TavrinKit/Export/MixedSound.h"
#include "TavrinKit/Imaging/FrameSequence.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

constexpr std::size_t decodedAhead = 4;
constexpr std::size_t drawnAhead = 2;
// Those that wait, the one being encoded and the one being drawn.
constexpr std::size_t bufferCount = drawnAhead + 2;

/// Cuts the movie's sound into the stretches that go with its frames, so that both reach the file side by
/// side.
class SoundTrack {
public:
    SoundTrack(const ExportPipeline::Plan& plan, MovieWriter& writer)
        : writer_(writer), sampleRate_(plan.sound->sampleRate),
          end_(std::llround(plan.asset.duration() * sampleRate_)),
          sound_(plan.asset, plan.audioMix, *plan.sound) {}

    /// Appends what is heard before `time` and wasn't appended yet.
    void appendUntil(double time) {
        const std::int64_t until = std::min(std::llround(time * sampleRate_), end_);
        if (until > position_) {
            writer_.appendAudio(sound_.next(std::size_t(until - position_)), double(position_) / sampleRate_);
            position_ = until;
        }
    }

private:
    MovieWriter& writer_;
    const int sampleRate_;
    const long long end_;
    MixedSound sound_;
    long long position_ = 0;
};

} // namespace

ExportPipeline::ExportPipeline(Plan plan, MovieWriter& writer)
    : plan_(std::move(plan)), writer_(writer), decoded_(decodedAhead), blank_(bufferCount),
      drawn_(drawnAhead) {}

template <typename Stage>
void ExportPipeline::guarded(Stage stage) noexcept {
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

void ExportPipeline::run(const ExportProgressHandler& onProgress, const std::stop_token& stop) {
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

void ExportPipeline::decode() {
    const std::unique_ptr<AssetVideoReader> movie = plan_.asset.openVideo();
    FrameSequence sequence;
    std::optional<std::int64_t> index;
    SourcePicture current;
    for (std::int64_t frame = 0; frame < plan_.frameCount; ++frame) {
        const std::optional<DecodedFrame> decoded = movie->frame(timeOf(frame));
        if (!decoded) {
            throw MediaError::decodingFailed(plan_.asset.path(), "it has no picture that can be decoded");
        }
        if (index != decoded->index) {
            index = decoded->index;
            current = {decoded->pixels, sequence.image(decoded->pixels)};
        }
        if (!decoded_.push(current, stop_.get_token())) {
            return;
        }
    }
    decoded_.close();
}

void ExportPipeline::draw() {
    const std::stop_token stop = stop_.get_token();
    ImageRenderer renderer;
    if (plan_.composition) {
        for (std::size_t i = 0; i < bufferCount; ++i) {
            blank_.push(PixelBuffer::allocate(PixelFormat::i420, plan_.frameSize));
        }
    }
    for (std::int64_t frame = 0; const auto picture = decoded_.pop(stop); ++frame) {
        PixelBuffer target = picture->pixels;
        if (plan_.composition) {
            const Image image = compose(*picture, frame);
            auto blank = blank_.pop(stop);
            if (!blank) {
                return;
            }
            target = std::move(*blank);
            renderer.render(image, target);
        }
        if (!drawn_.push(std::move(target), stop)) {
            return;
        }
    }
    drawn_.close();
}

Image ExportPipeline::compose(const SourcePicture& picture, std::int64_t frame) const {
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

void ExportPipeline::encode(const ExportProgressHandler& onProgress) {
    const std::stop_token stop = stop_.get_token();
    std::optional<SoundTrack> sound;
    if (plan_.sound) {
        sound.emplace(plan_, writer_);
    }
    for (std::int64_t frame = 0; frame < plan_.frameCount; ++frame) {
        auto picture = drawn_.pop(stop);
        if (!picture) {
            throw CancellationError();
        }
        writer_.appendVideo(*picture, timeOf(frame));
        if (plan_.composition) {
            blank_.push(std::move(*picture), stop);
        }
        if (sound) {
            sound->appendUntil(timeOf(frame + 1));
        }
        if (onProgress) {
            onProgress(std::clamp(timeOf(frame) / plan_.asset.duration(), 0.0, 0.99));
        }
    }
}

} // namespace tavrin
