#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "TavrinKit/Media/LiveVideoReader.h"

namespace tavrin {

/// One recording of a camera into a movie: a thread that reads pictures and one that encodes them, with a
/// short queue between. A picture that the encoder has no time for is dropped, so that the camera is never
/// held up. What was written can be played if the process dies.
///
/// The movie has the true times of its pictures. Should the device go away in mid-take, the movie ends with
/// its last picture. All calls from any thread; a device that hangs is left behind with its thread.
class CameraRecording {
public:
    struct Settings {
        std::filesystem::path outputURL;
        /// Asked on the reading thread, since the device it asks may hang. What it throws ends the start.
        std::function<LiveVideoReader::Settings()> source;
        std::string deviceName;   ///< for errors
        double startPatience = 6; ///< seconds from the opening of the device to the first picture
        double endPatience = 4;   ///< seconds that a stop waits for the movie to be complete
    };

    explicit CameraRecording(Settings settings);
    ~CameraRecording(); ///< as `abandon`, without waiting
    CameraRecording(const CameraRecording&) = delete;
    CameraRecording& operator=(const CameraRecording&) = delete;

    /// Returns with the first picture in the movie.
    /// @throws LiveVideoError, CameraCaptureError, CancellationError; then nothing runs any more but for a
    ///         device that hangs
    void start(const std::stop_token& stop);

    /// Host clock time of the movie's time 0: that of the first picture, unless it was set.
    [[nodiscard]] double timeZero() const;

    /// Moves the movie's time 0, soon after the start: what lies before is left out, but for the picture that
    /// was the latest then. Without effect once some seconds were recorded.
    void setTimeZero(double hostTime);

    /// Where the movie ends; later pictures are left out.
    void setEnd(double hostTime);

    /// Completes the movie.
    /// @param endTime  until when the last picture lasts, unless the end was set; host clock
    /// @throws whatever went wrong with the movie, CancellationError
    void finish(double endTime, const std::stop_token& stop);

    /// Ends without completing the movie, and removes it.
    /// @return false when a thread didn't end in time: the file may be there still
    [[nodiscard]] bool abandon() noexcept;

    /// As of `CameraCapturing`.
    [[nodiscard]] std::vector<std::string> warnings() const;

private:
    class Core;
    std::shared_ptr<Core> core_;
};

} // namespace tavrin
