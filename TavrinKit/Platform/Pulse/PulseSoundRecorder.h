#pragma once

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "TavrinKit/Media/SteadySoundMixer.h"
#include "TavrinKit/Platform/Pulse/PulseSoundSettings.h"

namespace tavrin {

class PulseSoundSession;

/// Sound of a Pulse server as one unbroken run on the host clock, whatever becomes of devices and
/// server.
///
/// A thread of its own calls back. `start` and then `stop` or `cancel` are called once each, by one thread at
/// a time and never by the recorder's own.
class PulseSoundRecorder {
public:
    using Warn = std::function<void(std::string)>;

    /// @param deliver  takes the pieces, two and a half seconds late at most; must not wait
    /// @param warn     hears "PREFIX_device_changed:NAME", "PREFIX_interrupted:SECONDS", and at the stop
    ///                 "PREFIX_lost" or "PREFIX_delivered_nothing"
    PulseSoundRecorder(PulseSoundSettings settings, SteadySoundMixer::Deliver deliver, Warn warn);
    ~PulseSoundRecorder(); ///< as `cancel`
    PulseSoundRecorder(const PulseSoundRecorder&) = delete;
    PulseSoundRecorder& operator=(const PulseSoundRecorder&) = delete;

    /// Returns when the source is open.
    /// @throws PulseError, CancellationError
    void start(const std::stop_token& stop);

    /// Delivers the sound up to this moment, for which it waits a quarter of a second at most. Harmless when
    /// nothing runs.
    void stop();

    /// Ends at once. Harmless when nothing runs.
    void cancel() noexcept;

private:
    // The recorder's thread.
    void run();
    void connect(double patience);
    void record();
    void deliverRest();
    void noteSound(double from, double until);
    void noteDevice();
    void noteEnd(double end);
    void warn(const std::string& what) const;

    const PulseSoundSettings settings_;
    const SteadySoundMixer::Deliver deliver_;
    const Warn warn_;

    std::stop_source stop_;
    std::atomic<double> endTime_{0}; ///< host clock; 0: there is nothing to deliver any more
    std::promise<void> started_;
    std::thread thread_;

    // The recorder's thread.
    std::unique_ptr<SteadySoundMixer> mixer_;
    std::unique_ptr<PulseSoundSession> session_; ///< null while there is no server
    double startTime_ = 0;
    std::optional<double> soundUntil_; ///< host clock
    std::string source_;               ///< the name of the device that was recorded last
};

} // namespace tavrin
