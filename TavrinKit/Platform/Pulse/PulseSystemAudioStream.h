#pragma once

#include <memory>
#include <string>

#include "TavrinKit/Capture/ScreenStream.h"

namespace tavrin {

/// What a Pulse server plays, as the user hears it: the monitor of the default output.
///
/// Follows the default output when that changes or goes, and the server when it comes back. What can't be had
/// meanwhile is silence of the same length. With an exclusion that names more than this very process the
/// other applications are recorded one by one and mixed here: an excluded one is never in it, whatever it
/// plays through.
///
/// Warns with "system_audio_device_changed:NAME", "system_audio_interrupted:SECONDS" after each
/// interruption of a quarter of a second or more, and "system_audio_lost" when sound doesn't come back until
/// the stop.
class PulseSystemAudioStream : public CaptureStream {
public:
    /// @param server  as in "unix:/run/user/1000/pulse/native"; empty: the one that the user's environment
    ///                names
    PulseSystemAudioStream(const std::string& server, const StreamConfiguration& configuration,
                           std::shared_ptr<ScreenStreamOutput> output);
    ~PulseSystemAudioStream() override; ///< as `removeOutput` and `stop`
    PulseSystemAudioStream(const PulseSystemAudioStream&) = delete;
    PulseSystemAudioStream& operator=(const PulseSystemAudioStream&) = delete;

    /// A server that doesn't answer is given 2.5 seconds.
    /// @throws PulseError, CancellationError
    void start(std::stop_token stop) override;
    /// Waits for the sound up to this moment, a quarter of a second at most.
    void stop(std::stop_token stop) override;
    void removeOutput() override;

    [[nodiscard]] static SystemAudioStreamFactory factory(std::string server = {});

private:
    class Implementation;
    const std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
