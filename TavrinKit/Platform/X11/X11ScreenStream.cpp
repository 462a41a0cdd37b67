#include "TavrinKit/Platform/X11/X11ScreenStream.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "TavrinKit/Platform/X11/FramePacer.h"
#include "TavrinKit/Platform/X11/StopSignal.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11PictureSource.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Detachable.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

constexpr auto patienceAtStop = std::chrono::seconds(1);
/// Seconds until another look after a change that was none of this display.
constexpr double pauseAfterNothing = 0.002;

} // namespace

class X11ScreenStream::Worker {
public:
    Worker(const std::string& displayName, const ContentFilter& filter,
           const StreamConfiguration& configuration, std::shared_ptr<const DesktopEntryIndex> entries,
           std::shared_ptr<ScreenStreamOutput> output)
        : connection_(displayName),
          source_(X11PictureSource::make(connection_, filter, configuration, std::move(entries))),
          pacer_(configuration.minimumFrameInterval), output_(std::move(output)) {}

    void start(std::shared_ptr<Worker> self) {
        const std::lock_guard lock(mutex_);
        if (phase_ != Phase::idle) {
            return;
        }
        phase_ = Phase::running;
        thread_ = std::thread([self = std::move(self)] { self->run(); });
    }

    void stop(const std::stop_token& stop) {
        stopSignal_.request();
        std::unique_lock lock(mutex_);
        if (phase_ == Phase::idle || isOwnThread()) {
            phase_ = phase_ == Phase::idle ? Phase::ended : phase_;
            return;
        }
        const auto hasEnded = [this] {
            return phase_ == Phase::ended;
        };
        const bool endedInTime = changed_.wait_for(lock, stop, patienceAtStop, hasEnded);
        if (!endedInTime) {
            connection_.hangUp();
            changed_.wait(lock, hasEnded);
        }
        std::thread thread = std::exchange(thread_, {});
        lock.unlock();
        if (thread.joinable()) {
            thread.join();
        }
        if (!endedInTime) {
            throwIfCancelled(stop);
        }
    }

    void removeOutput() { output_.detach(); }

    /// When the object goes on the very thread that it runs, nobody is left to join it.
    void detachOwnThread() {
        const std::lock_guard lock(mutex_);
        if (thread_.joinable() && isOwnThread()) {
            thread_.detach();
        }
    }

    [[nodiscard]] std::int64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

private:
    enum class Phase { idle, running, ended };

    [[nodiscard]] bool isOwnThread() const { return thread_.get_id() == std::this_thread::get_id(); }

    void run() {
        try {
            capture();
        } catch (...) {
            if (!stopSignal_.isRequested()) {
                output_.call([](ScreenStreamOutput& output) { output.didStop(std::current_exception()); });
            }
        }
        removeOutput();
        const std::lock_guard lock(mutex_);
        phase_ = Phase::ended;
        changed_.notify_all();
    }

    void capture() {
        double earliestLook = 0;
        while (!stopSignal_.isRequested()) {
            source_->readEvents();
            tellWhatIsNoPicture();
            if (!source_->hasNews()) {
                stopSignal_.waitFor(connection_.fileDescriptor());
                continue;
            }
            const double now = HostClock::now();
            const double earliest = std::max(pacer_.earliestNext(), earliestLook);
            if (now < earliest) {
                // Events of a source that stays where it is needn't wake us.
                stopSignal_.waitSeconds(earliest - now,
                                        source_->canMove() ? connection_.fileDescriptor() : -1);
                continue;
            }
            earliestLook = now + pauseAfterNothing;
            takePicture(now);
        }
    }

    void tellWhatIsNoPicture() {
        if (std::optional<VideoSample> move = source_->takeMove()) {
            output_.call([&](ScreenStreamOutput& output) { output.didOutput(std::move(*move)); });
        }
        for (std::string& warning : source_->takeWarnings()) {
            output_.call([&](ScreenStreamOutput& output) { output.didWarn(std::move(warning)); });
        }
    }

    void takePicture(double now) {
        VideoSample sample;
        switch (source_->take(sample)) {
        case X11PictureSource::Taken::nothing:
            break;
        case X11PictureSource::Taken::same:
            pacer_.didTake(now);
            break;
        case X11PictureSource::Taken::dropped:
            dropped_.fetch_add(1, std::memory_order_relaxed);
            pacer_.didTake(now);
            break;
        case X11PictureSource::Taken::picture:
            pacer_.didTake(sample.presentationTime);
            output_.call([&](ScreenStreamOutput& output) { output.didOutput(std::move(sample)); });
            break;
        }
    }

    const X11Connection connection_;
    std::unique_ptr<X11PictureSource> source_; ///< the constructor's thread, then the worker's
    FramePacer pacer_;                         ///< the worker's thread
    Detachable<ScreenStreamOutput> output_;
    StopSignal stopSignal_;
    std::atomic<std::int64_t> dropped_{0};

    std::mutex mutex_; ///< guards all below
    std::condition_variable_any changed_;
    Phase phase_ = Phase::idle;
    std::thread thread_;
};

X11ScreenStream::X11ScreenStream(const std::string& displayName, const ContentFilter& filter,
                                 const StreamConfiguration& configuration,
                                 std::shared_ptr<const DesktopEntryIndex> entries,
                                 std::shared_ptr<ScreenStreamOutput> output)
    : worker_(std::make_shared<Worker>(displayName, filter, configuration, std::move(entries),
                                       std::move(output))) {}

X11ScreenStream::~X11ScreenStream() {
    worker_->removeOutput();
    worker_->stop({});
    worker_->detachOwnThread();
}

void X11ScreenStream::start(std::stop_token stop) {
    throwIfCancelled(stop);
    worker_->start(worker_);
}

void X11ScreenStream::stop(std::stop_token stop) {
    worker_->stop(stop);
}

void X11ScreenStream::removeOutput() {
    worker_->removeOutput();
}

std::int64_t X11ScreenStream::droppedFrames() const {
    return worker_->dropped();
}

} // namespace tavrin
