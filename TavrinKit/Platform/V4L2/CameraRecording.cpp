#include "TavrinKit/Platform/V4L2/CameraRecording.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <tuple>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Capture/CameraCapturing.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/BoundedQueue.h"
#include "TavrinKit/Support/HostClock.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t queuedPictures = 6;

/// Pictures that are kept for a time 0 that is told a little late.
constexpr std::size_t rememberedPictures = 4;
/// Seconds after the first picture within which time 0 can be moved: more than a start may take.
constexpr double latestMove = 15;

/// Two ticks of the movie's microsecond clock: no rounding can make two times one.
constexpr double minimumTimeStep = 2e-6;

constexpr double flushInterval = 0.5;   // seconds
constexpr double plainFilePatience = 2; // seconds
constexpr int keyFrameInterval = 60;    // frames
constexpr double constantQuality = 21;  // a face needs less than small text
constexpr auto abandonPatience = 2s;

void log(const char* context, const std::exception_ptr& error) {
    logRecoverableFailure("TavrinKit.V4L2CameraCapture", context, error);
}

std::chrono::nanoseconds seconds(double duration) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(duration));
}

/// The encoder's side: puts pictures into a movie. One thread.
class CameraMovie {
public:
    explicit CameraMovie(std::filesystem::path path) : path_(std::move(path)) {}

    [[nodiscard]] bool isOpen() const { return writer_ != nullptr; }
    [[nodiscard]] double timeZero() const { return timeZero_; }

    /// @param end  host clock; what is later is left out
    void append(const LiveFrame& frame, std::optional<double> end) {
        if (!writer_) {
            open(frame.pixels.size(), frame.time);
        }
        if (canMove_) {
            remember(frame);
        }
        if (frame.time >= timeZero_ && (!end || frame.time < *end)) {
            write(frame.pixels, frame.time - timeZero_);
        }
    }

    /// Begins anew with what is remembered. @return whether it was in time
    bool moveTimeZero(double time) {
        if (!std::exchange(canMove_, false)) {
            return false;
        }
        const std::deque<LiveFrame> frames = std::exchange(remembered_, {});
        auto first = std::find_if(frames.begin(), frames.end(),
                                  [&](const LiveFrame& frame) { return frame.time > time; });
        if (first != frames.begin()) {
            --first;
        }
        writer_->cancel();
        open(first->pixels.size(), time);
        for (; first != frames.end(); ++first) {
            write(first->pixels, std::max(first->time - time, 0.0));
        }
        return true;
    }

    void flushWhenDue() {
        if (unflushedSince_ && HostClock::now() - *unflushedSince_ >= flushInterval) {
            writer_->flushFragment();
            unflushedSince_.reset();
        }
    }

    /// @param end  host clock; absent: with the last picture
    void finish(std::optional<double> end, const std::stop_token& stop) {
        writer_->finish(end ? std::optional(*end - timeZero_) : std::nullopt, stop);
        writer_.reset();
    }

    void cancel() noexcept { writer_.reset(); }

    /// Leaves on the disk what was written.
    void abandon() noexcept {
        if (writer_) {
            writer_->abandon();
            writer_.reset();
        }
    }

private:
    void open(PixelSize size, double timeZero) {
        MovieWriterSettings settings;
        settings.path = path_;
        settings.container = MovieContainer::quickTime;
        settings.crashSafe = true;
        settings.plainFilePatience = plainFilePatience;
        VideoTrackSettings& video = settings.video.emplace();
        video.size = size;
        video.effort = EncoderEffort::ultrafast;
        video.constantQuality = constantQuality;
        video.maximumKeyFrameInterval = keyFrameInterval;
        video.lowLatency = true;
        try {
            writer_ = std::make_unique<MovieWriter>(settings);
        } catch (...) {
            log("start.openMovie", std::current_exception());
            throw CameraCaptureError::unableToAddOutput();
        }
        timeZero_ = timeZero;
        lastTime_.reset();
    }

    void remember(const LiveFrame& frame) {
        remembered_.push_back(frame);
        if (remembered_.size() > rememberedPictures) {
            remembered_.pop_front();
        }
        if (frame.time - timeZero_ > latestMove) {
            canMove_ = false;
            remembered_.clear();
        }
    }

    void write(const PixelBuffer& picture, double time) {
        if (lastTime_) {
            time = std::max(time, *lastTime_ + minimumTimeStep);
        }
        writer_->appendVideo(picture, time);
        lastTime_ = time;
        unflushedSince_ = unflushedSince_.value_or(HostClock::now());
    }

    const std::filesystem::path path_;
    std::unique_ptr<MovieWriter> writer_;
    double timeZero_ = 0; ///< host clock
    bool canMove_ = true;
    std::deque<LiveFrame> remembered_;
    std::optional<double> lastTime_; ///< of the last picture in the movie
    std::optional<double> unflushedSince_;
};

} // namespace

/// What the two threads and the caller share. Each thread keeps it alive.
class CameraRecording::Core {
public:
    explicit Core(Settings wanted) : settings(std::move(wanted)) {}

    void read();
    void write();
    void endReading();

    struct State {
        std::optional<double> timeZero;       ///< of the movie, with its first picture
        std::optional<double> wantedTimeZero; ///< not yet seen by the encoder
        std::optional<double> end;
        std::optional<double> finishTime;
        bool isDiscarded = false;
        bool readingEnded = false;
        bool writingEnded = false;
        std::exception_ptr readError; ///< what ended the reading, other than a stop
        std::exception_ptr writeError;
        std::int64_t droppedPictures = 0;
    };

    template <typename Function>
    auto with(Function&& function) {
        const std::lock_guard lock(mutex_);
        changed_.notify_all();
        return std::forward<Function>(function)(state_);
    }

    /// Waits until the condition on the state holds. @return whether it does
    template <typename Condition>
    bool wait(std::chrono::nanoseconds patience, const std::stop_token& stop, Condition condition) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, stop, patience, [&] { return condition(state_); });
    }

    const Settings settings;
    BoundedQueue<LiveFrame> queue{queuedPictures};
    std::stop_source readingStop;
    std::stop_source writingStop; ///< gives a movie up that is being completed

private:
    void takePictures(CameraMovie& movie);

    std::mutex mutex_;
    std::condition_variable_any changed_;
    State state_;
};

void CameraRecording::Core::read() {
    std::exception_ptr error;
    try {
        const std::stop_token stop = readingStop.get_token();
        LiveVideoReader reader(settings.source(), stop);
        while (std::optional<LiveFrame> frame = reader.next(stop)) {
            if (!queue.tryPush(std::move(*frame)) && !stop.stop_requested()) {
                with([](State& state) { state.droppedPictures += 1; });
            }
        }
        throw LiveVideoError::disconnected(settings.deviceName);
    } catch (const CancellationError&) {
        // Whoever asked knows.
    } catch (...) {
        error = std::current_exception();
    }
    queue.close();
    with([&](State& state) {
        state.readError = std::move(error);
        state.readingEnded = true;
    });
}

void CameraRecording::Core::write() {
    CameraMovie movie(settings.outputURL);
    std::exception_ptr error;
    try {
        takePictures(movie);
        const auto [isDiscarded, end] = with([](const State& state) {
            return std::pair(state.isDiscarded, state.readError ? std::nullopt
                                                : state.end     ? state.end
                                                                : state.finishTime);
        });
        if (isDiscarded) {
            movie.cancel();
        } else if (movie.isOpen()) {
            movie.finish(end, writingStop.get_token());
        }
    } catch (const CancellationError&) {
        movie.cancel();
    } catch (...) {
        error = std::current_exception();
        movie.abandon();
        endReading();
    }
    with([&](State& state) {
        state.writeError = std::move(error);
        state.writingEnded = true;
    });
}

void CameraRecording::Core::takePictures(CameraMovie& movie) {
    while (!queue.isDrained()) {
        const std::optional<LiveFrame> frame = queue.pop(100ms);
        const auto [isDiscarded, wanted, end] =
            with([](State& state) { return std::tuple(state.isDiscarded, state.wantedTimeZero, state.end); });
        if (isDiscarded) {
            return;
        }
        if (frame) {
            movie.append(*frame, end);
        }
        if (wanted && movie.isOpen()) {
            static_cast<void>(movie.moveTimeZero(*wanted));
        }
        movie.flushWhenDue();
        if (movie.isOpen()) {
            with([&](State& state) {
                state.timeZero = movie.timeZero();
                if (state.wantedTimeZero == wanted) {
                    state.wantedTimeZero.reset();
                }
            });
        }
    }
}

/// Also when the reading thread hangs.
void CameraRecording::Core::endReading() {
    readingStop.request_stop();
    queue.close();
}

CameraRecording::CameraRecording(Settings settings) : core_(std::make_shared<Core>(std::move(settings))) {}

CameraRecording::~CameraRecording() {
    core_->with([](Core::State& state) { state.isDiscarded = !state.finishTime; });
    core_->endReading();
}

void CameraRecording::start(const std::stop_token& stop) {
    std::thread([core = core_] { core->read(); }).detach();
    std::thread([core = core_] { core->write(); }).detach();
    const bool hasBegun =
        core_->wait(seconds(core_->settings.startPatience), stop,
                    [](const Core::State& state) { return state.timeZero || state.writingEnded; });
    const bool isRecording = core_->with([](const Core::State& state) { return state.timeZero.has_value(); });
    if (hasBegun && isRecording && !stop.stop_requested()) {
        return;
    }
    static_cast<void>(abandon());
    // Taken away, so that no thread that is left behind holds it any more when it is thrown.
    const std::exception_ptr error = core_->with([](Core::State& state) {
        return std::exchange(state.writeError ? state.writeError : state.readError, nullptr);
    });
    if (stop.stop_requested()) {
        throw CancellationError();
    }
    if (error) {
        std::rethrow_exception(error);
    }
    throw LiveVideoError::silent(core_->settings.deviceName, core_->settings.startPatience);
}

double CameraRecording::timeZero() const {
    return core_->with([](const Core::State& state) { return state.timeZero.value_or(0); });
}

void CameraRecording::setTimeZero(double hostTime) {
    core_->with([&](Core::State& state) { state.wantedTimeZero = hostTime; });
}

void CameraRecording::setEnd(double hostTime) {
    core_->with([&](Core::State& state) { state.end = hostTime; });
}

void CameraRecording::finish(double endTime, const std::stop_token& stop) {
    core_->with([&](Core::State& state) { state.finishTime = endTime; });
    core_->endReading();
    const auto hasEnded = [](const Core::State& state) {
        return state.writingEnded;
    };
    if (!core_->wait(seconds(core_->settings.endPatience), stop, hasEnded)) {
        if (stop.stop_requested()) {
            throw CancellationError();
        }
        throw Error("The camera's movie could not be completed in time.");
    }
    static_cast<void>(core_->wait(1s, stop, [](const Core::State& state) { return state.readingEnded; }));
    const auto [isDiscarded, error] =
        core_->with([](const Core::State& state) { return std::pair(state.isDiscarded, state.writeError); });
    if (isDiscarded) {
        throw CancellationError();
    }
    if (error) {
        std::rethrow_exception(error);
    }
}

bool CameraRecording::abandon() noexcept {
    core_->with([](Core::State& state) { state.isDiscarded = true; });
    core_->writingStop.request_stop();
    core_->endReading();
    return core_->wait(abandonPatience, {},
                       [](const Core::State& state) { return state.writingEnded && state.readingEnded; });
}

std::vector<std::string> CameraRecording::warnings() const {
    return core_->with([](const Core::State& state) {
        std::vector<std::string> warnings;
        if (state.readError) {
            warnings.emplace_back("camera_disconnected");
        }
        if (state.writeError) {
            warnings.push_back("camera_write_failed:" + sentenceOf(state.writeError));
        }
        if (state.droppedPictures > 0) {
            warnings.push_back(fmt::format("camera_frames_dropped:{}", state.droppedPictures));
        }
        return warnings;
    });
}

} // namespace tavrin
