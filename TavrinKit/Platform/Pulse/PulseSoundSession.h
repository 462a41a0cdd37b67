#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "TavrinKit/Media/SteadySoundMixer.h"
#include "TavrinKit/Platform/Pulse/PulseConnection.h"
#include "TavrinKit/Platform/Pulse/PulseDevices.h"
#include "TavrinKit/Platform/Pulse/PulseRecordStream.h"
#include "TavrinKit/Platform/Pulse/PulseSoundSettings.h"

namespace tavrin {

/// One connection to a server, from which wanted sound flows into a mixer for as long as the server lives.
///
/// Which streams that are follows the server's devices and what plays on it. One thread at a time.
class PulseSoundSession {
public:
    /// Told that there is sound from one host clock time to another.
    using Heard = std::function<void(double from, double until)>;

    /// Returns when everything that is there to record is being recorded.
    /// @param mixer     outlives the session
    /// @param patience  for the server's answers, in all
    /// @throws PulseError, also when there is no microphone; CancellationError
    PulseSoundSession(const PulseSoundSettings& settings, SteadySoundMixer& mixer, Heard heard,
                      const std::stop_token& stop, PulseConnection::Patience patience);
    ~PulseSoundSession();
    PulseSoundSession(const PulseSoundSession&) = delete;
    PulseSoundSession& operator=(const PulseSoundSession&) = delete;

    /// Moves what arrives in the next moment.
    /// @throws PulseError when the server has gone
    void runFor(std::chrono::milliseconds duration);

    /// After `runFor`: follows the devices where they have changed.
    /// @throws PulseError, CancellationError
    void follow();

    /// What is recorded has a source; with applications always.
    [[nodiscard]] bool hasSource() const;

    /// What is recorded; without a name for applications or when there is none.
    [[nodiscard]] const PulseDevice& device() const { return device_; }

private:
    struct Lane {
        std::unique_ptr<PulseRecordStream> stream;
        SteadySoundMixer::Lane number;
        bool hasSound = false;
        /// Only until its successor has sound, or this host clock time.
        std::optional<double> retiresAt;
    };

    void subscribe(PulseConnection::Patience patience);
    void awaitStreams(PulseConnection::Patience patience);
    void followDevice();
    void followApplications();
    void open(PulseRecordStream::Origin origin);
    void moveSound();
    void close(std::size_t index);

    const PulseSoundSettings& settings_;
    SteadySoundMixer& mixer_;
    const Heard heard_;
    bool mayHaveChanged_ = true; ///< set by the server's news
    double earliestFollow_ = 0;  ///< host clock
    PulseDevice device_;
    PulseConnection connection_;
    std::vector<Lane> lanes_; ///< go before the connection
};

} // namespace tavrin
