#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "TavrinKit/Capture/MicrophoneCapturing.h"

namespace tavrin {

/// Records a microphone of a Pulse server to an .m4a file: AAC, 48 kHz, mono, 128 kbit/s.
///
/// Records the named source, or else the server's default; without a default that is a microphone the first
/// one that is. Follows the default when the source goes and the server when it comes back; what can't be had
/// meanwhile is silence of the same length. The file lasts until the stop, and can be played even when the
/// process is killed: up to about two seconds before that moment.
///
/// Warns with "microphone_device_changed:NAME", "microphone_interrupted:SECONDS" after each interruption of a
/// quarter of a second or more, "microphone_dropped" when a disk that hung has cost sound, "microphone_lost"
/// when sound didn't come back until the stop, and "microphone_delivered_nothing" when none ever came: then
/// the file is silent.
class PulseMicrophoneCapture : public MicrophoneCapturing {
public:
    struct Settings {
        std::string server; ///< empty: the one that the user's environment names
        std::string source; ///< its name; empty: the default
    };

    PulseMicrophoneCapture(std::filesystem::path outputURL, Settings settings);
    explicit PulseMicrophoneCapture(std::filesystem::path outputURL)
        : PulseMicrophoneCapture(std::move(outputURL), Settings{}) {}
    ~PulseMicrophoneCapture() override; ///< as `cancel` when not stopped
    PulseMicrophoneCapture(const PulseMicrophoneCapture&) = delete;
    PulseMicrophoneCapture& operator=(const PulseMicrophoneCapture&) = delete;

    /// A server that doesn't answer is given less than 2 seconds.
    /// @throws MicrophoneCaptureError, FileError, CancellationError
    void start(std::stop_token stop) override;
    /// Sound is held back for 15 seconds at most until this is called.
    void setTimeZero(double hostTime) override;
    [[nodiscard]] std::filesystem::path stop(std::stop_token stop) override;
    [[nodiscard]] std::vector<std::string> warnings() const override;
    void cancel() noexcept override;

    [[nodiscard]] static MicrophoneCaptureFactory factory(Settings settings);

private:
    class Recording;

    const std::filesystem::path outputURL_;
    const Settings settings_;
    struct State;
    const std::unique_ptr<State> state_;
};

} // namespace tavrin
