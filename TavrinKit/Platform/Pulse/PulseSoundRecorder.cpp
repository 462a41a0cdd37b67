#include "TavrinKit/Platform/Pulse/PulseSoundRecorder.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Platform/Pulse/PulseSoundSession.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/HostClock.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;

/// Seconds for which missing sound is waited for: a busy machine is late by less, and some devices deliver a
/// second and more in one go.
constexpr double soundPatience = 2.5;
constexpr double patienceAtEnd = 0.25;
constexpr double reconnectPatience = 2;
constexpr auto reconnectInterval = 200ms;
constexpr double shortestInterruption = 0.25;
/// Until a device that was just opened brings its first sound: an idle one has played silence ahead.
constexpr double longestBeginning = 2.5;
constexpr double leastLoss = 1;

SteadySound::Settings soundSettings(const PulseSoundSettings& settings) {
    SteadySound::Settings sound;
    sound.sampleRate = settings.sampleRate;
    sound.channels = settings.channels;
    return sound;
}

} // namespace

PulseSoundRecorder::PulseSoundRecorder(PulseSoundSettings settings, SteadySoundMixer::Deliver deliver,
                                       Warn warn)
    : settings_(std::move(settings)), deliver_(std::move(deliver)), warn_(std::move(warn)) {}

PulseSoundRecorder::~PulseSoundRecorder() {
    cancel();
}

void PulseSoundRecorder::start(const std::stop_token& stop) {
    throwIfCancelled(stop);
    std::future<void> started = started_.get_future();
    thread_ = std::thread([this] { run(); });
    const std::stop_callback forwarding(stop, [this] { stop_.request_stop(); });
    started.get();
    throwIfCancelled(stop);
}

void PulseSoundRecorder::stop() {
    endTime_ = HostClock::now();
    stop_.request_stop();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void PulseSoundRecorder::cancel() noexcept {
    stop_.request_stop();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void PulseSoundRecorder::run() {
    startTime_ = HostClock::now();
    mixer_ = std::make_unique<SteadySoundMixer>(soundSettings(settings_), startTime_, deliver_);
    try {
        connect(settings_.startPatience);
        source_ = session_->device().source;
    } catch (...) {
        started_.set_exception(std::current_exception());
        return;
    }
    started_.set_value();
    record();
    if (endTime_ > 0) {
        deliverRest();
    }
    session_.reset();
}

void PulseSoundRecorder::connect(double patience) {
    session_ = std::make_unique<PulseSoundSession>(
        settings_, *mixer_, [this](double from, double until) { noteSound(from, until); }, stop_.get_token(),
        std::chrono::duration<double>(patience));
}

void PulseSoundRecorder::record() {
    bool isFailureKnown = false;
    while (!stop_.stop_requested()) {
        try {
            if (!session_) {
                sleepFor(reconnectInterval, stop_.get_token());
                connect(reconnectPatience);
            }
            session_->runFor(50ms);
            session_->follow();
            noteDevice();
            isFailureKnown = false;
        } catch (const CancellationError&) {
            return;
        } catch (...) {
            session_.reset();
            if (!std::exchange(isFailureKnown, true)) {
                logRecoverableFailure("TavrinKit.PulseSoundRecorder", "record", std::current_exception());
            }
        }
        mixer_->deliver(HostClock::now(), soundPatience);
    }
}

void PulseSoundRecorder::deliverRest() {
    const double end = endTime_;
    try {
        while (session_ && session_->hasSource() && !mixer_->isAvailable(end) &&
               HostClock::now() < end + patienceAtEnd) {
            session_->runFor(10ms);
        }
    } catch (...) {
        session_.reset(); // the rest is silence
    }
    mixer_->deliverAll(end);
    noteEnd(end);
}

void PulseSoundRecorder::noteSound(double from, double until) {
    const double gap = from - soundUntil_.value_or(startTime_);
    if (gap >= (soundUntil_ ? shortestInterruption : longestBeginning)) {
        warn(fmt::format("interrupted:{:.1f}", gap));
    }
    soundUntil_ = std::max(soundUntil_.value_or(until), until);
}

void PulseSoundRecorder::noteDevice() {
    const PulseDevice& device = session_->device();
    if (!device.source.empty() && device.source != source_) {
        if (!source_.empty()) {
            warn("device_changed:" + (device.description.empty() ? device.source : device.description));
        }
        source_ = device.source;
    }
}

void PulseSoundRecorder::noteEnd(double end) {
    if (!soundUntil_ && settings_.kind == PulseSoundSettings::Kind::microphone) {
        warn("delivered_nothing");
    } else if (end - soundUntil_.value_or(startTime_) >= leastLoss) {
        warn("lost");
    }
}

void PulseSoundRecorder::warn(const std::string& what) const {
    warn_(settings_.warningPrefix + "_" + what);
}

} // namespace tavrin
