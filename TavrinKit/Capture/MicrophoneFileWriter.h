#pragma once

#include <atomic>
#include <exception>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/BoundedQueue.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Writes mono sound to an .m4a file, AAC of 128 kbit/s at 48 kHz, on a thread of its own.
///
/// Holds the sound back until it is told where the file's time 0 lies, for 15 seconds at most; then the file
/// begins with the first sound. The file can be played even when the process is killed.
class MicrophoneFileWriter {
public:
    /// @throws MediaError, FileError
    explicit MicrophoneFileWriter(const std::filesystem::path& path);
    ~MicrophoneFileWriter(); ///< as `cancel` when not finished
    MicrophoneFileWriter(const MicrophoneFileWriter&) = delete;
    MicrophoneFileWriter& operator=(const MicrophoneFileWriter&) = delete;

    /// @param hostTime  host clock; what sounded before is left out. Only the first call counts.
    void setTimeZero(double hostTime);

    /// Never waits. One thread.
    /// @return false when the sound is lost, because the disk has hung for a minute
    [[nodiscard]] bool append(AudioSample sample);

    /// Completes the file. A file that could not be written to its end stays as far as it goes.
    /// @return why, in that case
    /// @throws CancellationError
    [[nodiscard]] std::exception_ptr finish(const std::stop_token& stop);

    /// Ends the writing and removes the file; waits for a second at most. Harmless after `finish`. Any
    /// thread.
    void cancel() noexcept;

private:
    struct Core; // shared with the thread, which may outlive the writer when a disk hangs

    const std::shared_ptr<Core> core_;
    std::thread thread_;
};

} // namespace tavrin
