#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class MicrophoneCaptureErrorKind { alreadyStarted, notStarted, unableToStartRecording, outputMissing };

class MicrophoneCaptureError : public ErrorFamily<MicrophoneCaptureErrorKind> {
public:
    [[nodiscard]] static MicrophoneCaptureError alreadyStarted();
    [[nodiscard]] static MicrophoneCaptureError notStarted();
    [[nodiscard]] static MicrophoneCaptureError unableToStartRecording();
    [[nodiscard]] static MicrophoneCaptureError outputMissing();

private:
    using ErrorFamily::ErrorFamily;
};

/// Records the microphone to a file of its own. Calls may come from any thread, `cancel` also while another
/// call waits.
class MicrophoneCapturing {
public:
    virtual ~MicrophoneCapturing() = default;

    /// @throws MicrophoneCaptureError, Error of the platform, CancellationError
    virtual void start(std::stop_token stop) = 0;

    /// Where the file's time 0 lies; sound from before is left out. Called once, soon after `start`: until
    /// then sound is held back, for some seconds at most. Without a call the file begins with the first
    /// sound.
    /// @param hostTime  host clock
    virtual void setTimeZero(double hostTime) = 0;

    /// @return the finished file
    /// @throws MicrophoneCaptureError, Error of the platform, CancellationError
    [[nodiscard]] virtual std::filesystem::path stop(std::stop_token stop) = 0;

    /// What went wrong since the start without ending the recording, as in "microphone_interrupted:2.4".
    [[nodiscard]] virtual std::vector<std::string> warnings() const { return {}; }

    /// Stops without waiting for long and removes the file. Harmless when nothing runs.
    virtual void cancel() noexcept = 0;
};

/// Makes a capture that writes to the given file.
using MicrophoneCaptureFactory =
    std::function<std::shared_ptr<MicrophoneCapturing>(const std::filesystem::path& outputURL)>;

} // namespace tavrin
