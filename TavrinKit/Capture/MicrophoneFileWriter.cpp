#include "TavrinKit/Capture/MicrophoneFileWriter.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/HostClock.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

constexpr int sampleRate = 48000;
constexpr double longestHold = 15;    // seconds
constexpr double flushInterval = 0.5; // seconds
constexpr double plainFilePatience = 6;
constexpr std::size_t waitingLimit = 600; // pieces of a tenth of a second
constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

MovieWriterSettings writerSettings(const std::filesystem::path& path) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.container = MovieContainer::mp4;
    settings.audio = AudioTrackSettings{sampleRate, 1, 128'000};
    settings.crashSafe = true;
    settings.plainFilePatience = plainFilePatience;
    return settings;
}

} // namespace

struct MicrophoneFileWriter::Core {
    explicit Core(const std::filesystem::path& path) : writer(writerSettings(path)) {}

    void run();
    void writeHeld();
    void write(const AudioSample& sample);
    void end();
    void fail(const char* context);

    // Any thread.
    BoundedQueue<AudioSample> queue{waitingLimit};
    std::atomic<double> timeZero{unknown};
    std::stop_source cancelled;
    std::promise<std::exception_ptr> ending;
    std::shared_future<std::exception_ptr> ended{ending.get_future()};

    // The thread's.
    MovieWriter writer;
    std::vector<AudioSample> held;
    std::exception_ptr failure;
    std::optional<double> unflushedSince; ///< host clock
    bool isEmpty = true;
};

void MicrophoneFileWriter::Core::run() {
    while (!cancelled.stop_requested() && !queue.isDrained()) {
        if (auto sample = queue.pop(std::chrono::milliseconds(200), cancelled.get_token())) {
            held.push_back(std::move(*sample));
        }
        const bool isHeldTooLong =
            !held.empty() && HostClock::now() - held.front().presentationTime > longestHold;
        if (std::isnan(timeZero) && isHeldTooLong) {
            timeZero = held.front().presentationTime;
        }
        writeHeld();
    }
    if (cancelled.stop_requested()) {
        writer.cancel();
    } else {
        end();
    }
    ending.set_value(failure);
}

void MicrophoneFileWriter::Core::writeHeld() {
    if (failure) {
        held.clear(); // there is nowhere to write it
    }
    if (std::isnan(timeZero) || failure) {
        return;
    }
    try {
        for (const AudioSample& sample : std::exchange(held, {})) {
            write(sample);
        }
        if (unflushedSince && HostClock::now() - *unflushedSince >= flushInterval) {
            writer.flushFragment();
            unflushedSince.reset();
        }
    } catch (...) {
        fail("append");
    }
}

void MicrophoneFileWriter::Core::write(const AudioSample& sample) {
    const double time = sample.presentationTime - timeZero;
    const double length = double(sample.interleaved.size()) / sampleRate;
    if (time + length > 0) {
        writer.appendAudio(sample.interleaved, time);
        unflushedSince = unflushedSince.value_or(HostClock::now());
        isEmpty = false;
    }
}

void MicrophoneFileWriter::Core::end() {
    if (std::isnan(timeZero)) {
        timeZero = held.empty() ? HostClock::now() : held.front().presentationTime;
    }
    writeHeld();
    try {
        if (!failure) {
            if (isEmpty) { // a track without a sample is none
                writer.appendAudio(std::vector<float>(1024), 0);
            }
            writer.finish({}, cancelled.get_token());
            return;
        }
    } catch (...) {
        fail("finish");
    }
    if (cancelled.stop_requested()) {
        writer.cancel();
    } else {
        writer.abandon();
    }
}

void MicrophoneFileWriter::Core::fail(const char* context) {
    failure = std::current_exception();
    if (!cancelled.stop_requested()) {
        logRecoverableFailure("TavrinKit.MicrophoneFileWriter", context, failure);
    }
}

MicrophoneFileWriter::MicrophoneFileWriter(const std::filesystem::path& path)
    : core_(std::make_shared<Core>(path)), thread_([core = core_] { core->run(); }) {}

MicrophoneFileWriter::~MicrophoneFileWriter() {
    cancel();
    if (core_->ended.wait_for(std::chrono::seconds(0)) == std::future_status::ready) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

void MicrophoneFileWriter::setTimeZero(double hostTime) {
    double none = unknown;
    if (std::isnan(core_->timeZero)) {
        // Another thread's choice of the same moment stands; NaN never compares equal, but its bits do.
        core_->timeZero.compare_exchange_strong(none, hostTime);
    }
}

bool MicrophoneFileWriter::append(AudioSample sample) {
    return core_->queue.tryPush(std::move(sample));
}

std::exception_ptr MicrophoneFileWriter::finish(const std::stop_token& stop) {
    const std::stop_callback forwarding(stop, [this] { core_->cancelled.request_stop(); });
    core_->queue.close();
    const std::exception_ptr failure = core_->ended.get();
    if (core_->cancelled.stop_requested()) {
        throw CancellationError();
    }
    return failure;
}

void MicrophoneFileWriter::cancel() noexcept {
    core_->cancelled.request_stop();
    core_->queue.close();
    static_cast<void>(core_->ended.wait_for(std::chrono::seconds(1)));
}

} // namespace tavrin
