#include "TavrinKit/Capture/SoundedCaptureBackend.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

/// Hands everything on and says when the pictures have begun.
class PictureWatch : public ScreenStreamOutput {
public:
    explicit PictureWatch(std::shared_ptr<ScreenStreamOutput> output) : output_(std::move(output)) {}

    void didOutput(VideoSample sample) override {
        output_->didOutput(std::move(sample));
        setBegun();
    }
    void didOutput(AudioSample sample) override { output_->didOutput(std::move(sample)); }
    void didWarn(std::string warning) override { output_->didWarn(std::move(warning)); }
    void didStop(std::exception_ptr error) override {
        output_->didStop(std::move(error));
        setBegun(); // there is nothing to wait for
    }

    /// Waits for the first picture, or for the end of the stream.
    /// @throws CancellationError
    void awaitBegin(const std::stop_token& stop) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, stop, [this] { return hasBegun_; });
        throwIfCancelled(stop);
    }

private:
    void setBegun() {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(hasBegun_, true)) {
            changed_.notify_all();
        }
    }

    const std::shared_ptr<ScreenStreamOutput> output_;
    std::mutex mutex_;
    std::condition_variable_any changed_;
    bool hasBegun_ = false; ///< guarded by mutex_
};

class SoundedStream : public ScreenStream {
public:
    SoundedStream(std::shared_ptr<PictureWatch> watch, std::unique_ptr<ScreenStream> pictures,
                  std::unique_ptr<CaptureStream> sound)
        : watch_(std::move(watch)), pictures_(std::move(pictures)), sound_(std::move(sound)) {}

    void start(std::stop_token stop) override {
        try {
            pictures_->start(stop);
            watch_->awaitBegin(stop);
            sound_->start(stop);
        } catch (...) {
            const std::exception_ptr failure = std::current_exception();
            stopQuietly({});
            std::rethrow_exception(failure);
        }
    }

    void stop(std::stop_token stop) override {
        try {
            pictures_->stop(stop);
        } catch (...) {
            const std::exception_ptr failure = std::current_exception();
            stopQuietly(stop);
            std::rethrow_exception(failure);
        }
        sound_->stop(stop);
    }

    void removeOutput() override {
        sound_->removeOutput();
        pictures_->removeOutput();
    }

    [[nodiscard]] std::int64_t droppedFrames() const override { return pictures_->droppedFrames(); }

private:
    /// Stops both when there is a failure to tell of already.
    void stopQuietly(const std::stop_token& stop) noexcept {
        for (CaptureStream* stream : {static_cast<CaptureStream*>(pictures_.get()), sound_.get()}) {
            try {
                stream->stop(stop);
            } catch (...) { // NOLINT: the first failure is the one that is told
            }
        }
    }

    const std::shared_ptr<PictureWatch> watch_;
    const std::unique_ptr<ScreenStream> pictures_;
    const std::unique_ptr<CaptureStream> sound_;
};

} // namespace

SoundedCaptureBackend::SoundedCaptureBackend(std::shared_ptr<ScreenCaptureBackend> pictures,
                                             SystemAudioStreamFactory sound)
    : pictures_(std::move(pictures)), sound_(std::move(sound)) {}

bool SoundedCaptureBackend::preflightAccess() {
    return pictures_->preflightAccess();
}

bool SoundedCaptureBackend::requestAccess() {
    return pictures_->requestAccess();
}

ShareableContent SoundedCaptureBackend::shareableContent(bool excludingDesktopWindows,
                                                         bool onScreenWindowsOnly) {
    return pictures_->shareableContent(excludingDesktopWindows, onScreenWindowsOnly);
}

std::unique_ptr<ScreenStream> SoundedCaptureBackend::makeStream(const ContentFilter& filter,
                                                                const StreamConfiguration& configuration,
                                                                std::shared_ptr<ScreenStreamOutput> output) {
    if (!configuration.capturesAudio) {
        return pictures_->makeStream(filter, configuration, std::move(output));
    }
    auto watch = std::make_shared<PictureWatch>(std::move(output));
    auto pictures = pictures_->makeStream(filter, configuration, watch);
    auto sound = sound_(configuration, watch);
    return std::make_unique<SoundedStream>(std::move(watch), std::move(pictures), std::move(sound));
}

} // namespace tavrin
