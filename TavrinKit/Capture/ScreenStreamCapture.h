#pragma once

#include <stop_token>

#include "TavrinKit/Capture/CaptureTypes.h"

namespace tavrin {

/// Records the screen into temporary files: what the coordinator drives.
///
/// Calls may come from any thread; `cancelRecording` also while another call waits.
class ScreenStreamCapture {
public:
    virtual ~ScreenStreamCapture() = default;

    /// Returns once pictures arrive.
    /// @throws Error of the implementation, CancellationError; then nothing is left running
    virtual void start(const CaptureOptions& options, std::stop_token stop) = 0;

    /// Ends the take and completes its files.
    /// @throws Error of the implementation, CancellationError
    [[nodiscard]] virtual ScreenCaptureResult stop(std::stop_token stop) = 0;

    /// Abandons whatever is running. Never throws; harmless when nothing is running.
    virtual void cancelRecording(std::stop_token stop);
};

} // namespace tavrin
