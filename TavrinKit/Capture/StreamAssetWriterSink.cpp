#include "TavrinKit/Capture/StreamAssetWriterSink.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <future>
#include <limits>
#include <utility>
#include <variant>

#include "TavrinKit/Support/BoundedQueue.h"
#include "TavrinKit/Support/Guarded.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

constexpr double noTime = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t waitingSoundLimit = 600; // pieces of a tenth of a second

std::optional<double> timeIn(const std::atomic<double>& value) {
    const double time = value.load();
    return std::isnan(time) ? std::nullopt : std::optional(time);
}

} // namespace

struct StreamAssetWriterSink::Core {
    using Element = std::variant<VideoSample, AudioSample>;
    enum class Phase { writing, preparing, finished };

    Core(StreamEncoder::Settings encoderSettings, std::size_t queueDepth)
        : hasAudioInput(encoderSettings.includesAudio), waitingPictureLimit(queueDepth),
          queue(queueDepth + waitingSoundLimit), encoder(std::move(encoderSettings)) {}

    void run();
    void write(const Element& element);

    const bool hasAudioInput;
    const std::size_t waitingPictureLimit;

    // Any thread.
    BoundedQueue<Element> queue;
    Guarded<Phase> phase{Phase::writing};
    std::atomic<bool> isCancelled{false};
    std::atomic<std::size_t> waitingPictures{0};
    std::atomic<std::int64_t> receivedFrames{0};
    std::atomic<std::int64_t> droppedFrames{0};
    std::atomic<double> firstSampleTime{noTime};
    std::atomic<double> sessionStart{noTime};
    std::promise<void> threadEnd;
    std::shared_future<void> threadEnded{threadEnd.get_future()};

    // The thread's; once that has ended, his who moved the phase on.
    StreamEncoder encoder;
};

void StreamAssetWriterSink::Core::run() {
    while (!isCancelled) {
        const std::chrono::duration<double> patience(encoder.secondsUntilDue(HostClock::now()));
        if (const auto element = queue.pop(std::chrono::duration_cast<std::chrono::nanoseconds>(patience))) {
            write(*element);
        } else if (queue.isDrained()) {
            break;
        }
        encoder.keepUp(HostClock::now());
    }
    if (isCancelled) {
        encoder.abandon();
    }
    threadEnd.set_value();
}

void StreamAssetWriterSink::Core::write(const Element& element) {
    if (const auto* picture = std::get_if<VideoSample>(&element)) {
        waitingPictures -= 1;
        if (!encoder.append(*picture)) {
            droppedFrames += 1;
        }
    } else {
        encoder.append(std::get<AudioSample>(element));
    }
    sessionStart = encoder.sessionStart().value_or(noTime);
}

StreamAssetWriterSink::StreamAssetWriterSink(const std::filesystem::path& outputURL, int width, int height,
                                             bool includeSystemAudio, Settings settings)
    : core_([&] {
          if (width < 2 || height < 2 || width % 2 != 0 || height % 2 != 0) {
              throw StreamAssetWriterSinkError::videoInputRejected();
          }
          settings.encoder.outputURL = outputURL;
          settings.encoder.size = {width, height};
          settings.encoder.includesAudio = includeSystemAudio;
          if (includeSystemAudio && (settings.encoder.sampleRate <= 0 || settings.encoder.channels <= 0)) {
              throw StreamAssetWriterSinkError::audioInputRejected();
          }
          return std::make_shared<Core>(settings.encoder, settings.queueDepth);
      }()),
      thread_([core = core_] { core->run(); }) {}

StreamAssetWriterSink::StreamAssetWriterSink(const std::filesystem::path& outputURL, int width, int height,
                                             bool includeSystemAudio)
    : StreamAssetWriterSink(outputURL, width, height, includeSystemAudio, Settings{}) {}

StreamAssetWriterSink::~StreamAssetWriterSink() {
    cancel();
    if (waitForThread(0.0)) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

void StreamAssetWriterSink::appendVideo(VideoSample sample) noexcept {
    if (std::isnan(core_->firstSampleTime.load())) {
        core_->firstSampleTime = sample.presentationTime;
    }
    if (sample.pixels.isEmpty() || core_->phase.copy() != Core::Phase::writing) {
        return;
    }
    core_->receivedFrames += 1;
    if (core_->waitingPictures.fetch_add(1) >= core_->waitingPictureLimit ||
        !core_->queue.tryPush(std::move(sample))) {
        core_->waitingPictures -= 1;
        core_->droppedFrames += 1;
    }
}

bool StreamAssetWriterSink::append(AudioSample sample) noexcept {
    return !core_->hasAudioInput || core_->phase.copy() != Core::Phase::writing ||
           core_->queue.tryPush(std::move(sample));
}

bool StreamAssetWriterSink::prepareForFinish() {
    using Phase = Core::Phase;
    const bool isMine = core_->phase.with(
        [](Phase& phase) { return phase == Phase::writing && (phase = Phase::preparing, true); });
    if (!isMine) {
        return false;
    }
    core_->queue.close();
    static_cast<void>(waitForThread(std::nullopt));
    try {
        if (!core_->encoder.hasVideoFrames() && !core_->isCancelled) {
            core_->encoder.appendFallbackFrame(timeIn(core_->firstSampleTime).value_or(HostClock::now()));
            core_->sessionStart = core_->encoder.sessionStart().value_or(noTime);
        }
    } catch (...) {
        core_->phase.with([](Phase& phase) { phase = phase == Phase::preparing ? Phase::writing : phase; });
        throw;
    }
    const bool isToFinish = core_->phase.with(
        [](Phase& phase) { return phase == Phase::preparing && (phase = Phase::finished, true); });
    if (!isToFinish) {
        core_->encoder.abandon();
    }
    return isToFinish;
}

void StreamAssetWriterSink::finish(double endTime) {
    core_->encoder.finish(endTime);
}

void StreamAssetWriterSink::cancel() noexcept {
    using Phase = Core::Phase;
    const Phase before = core_->phase.with([&](Phase& phase) {
        if (phase != Phase::finished) {
            core_->isCancelled = true;
        }
        return std::exchange(phase, Phase::finished);
    });
    if (before == Phase::finished) {
        return;
    }
    core_->queue.close();
    const bool hasEnded = waitForThread(1.0);
    if (before == Phase::writing && hasEnded) { // whoever prepares a finish abandons the movie himself
        core_->encoder.abandon();
    }
}

std::optional<double> StreamAssetWriterSink::sessionStart() const {
    return timeIn(core_->sessionStart);
}

std::optional<double> StreamAssetWriterSink::firstSampleTime() const {
    return timeIn(core_->firstSampleTime);
}

std::int64_t StreamAssetWriterSink::receivedFrames() const {
    return core_->receivedFrames;
}

std::int64_t StreamAssetWriterSink::droppedFrames() const {
    return core_->droppedFrames;
}

bool StreamAssetWriterSink::waitForThread(std::optional<double> seconds) const noexcept {
    if (!seconds) {
        core_->threadEnded.wait();
        return true;
    }
    return core_->threadEnded.wait_for(std::chrono::duration<double>(*seconds)) == std::future_status::ready;
}

} // namespace tavrin
