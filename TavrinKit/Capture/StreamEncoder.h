#pragma once

#include <exception>
#include <filesystem>
#include <memory>
#include <optional>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// Puts the samples of a stream into a movie, on the movie's own clock.
///
/// Time 0 is the first sample that the movie could be opened with. While the screen is still the last
/// picture is written again now and then, and all that was written is flushed regularly, so that a process
/// that dies leaves a movie which plays nearly to that moment. Such a repetition is stamped a little behind
/// the present: a real picture that was taken meanwhile finds its own time still free.
///
/// A failure to write is kept until `finish`; what comes after it is dropped. One thread at a time.
class StreamEncoder {
public:
    struct Settings {
        std::filesystem::path outputURL;
        PixelSize size; ///< even
        bool includesAudio = false;
        int sampleRate = 48000;
        int channels = 2;
        int audioBitRate = 128000;
        double constantQuality = 18;         ///< crisp text needs no less
        double repetitionInterval = 0.75;    ///< seconds between two pictures at most
        double repetitionLag = 0.25;         ///< seconds behind the present
        double flushInterval = 0.5;          ///< seconds that a picture waits for its way to the disk at most
        double plainFilePatience = 6;        ///< seconds; a stop as a whole is given some twelve
        double lastFrameDuration = 1.0 / 60; ///< seconds of the picture written at the stop
    };

    explicit StreamEncoder(Settings settings);

    /// @return false when the picture was dropped: the movie can't be opened or written, or the picture is
    ///         of another size than the movie or has no time
    bool append(const VideoSample& sample);
    void append(const AudioSample& sample);

    /// Repeats the last picture and flushes, each when it is due.
    void keepUp(double now);

    /// Seconds until `keepUp` has something to do.
    [[nodiscard]] double secondsUntilDue(double now) const;

    [[nodiscard]] bool hasVideoFrames() const { return hasVideoFrames_; }

    /// Host clock time of the movie's time 0, once there is a movie.
    [[nodiscard]] std::optional<double> sessionStart() const { return sessionStart_; }

    /// For a take without a picture: a black one at time 0.
    /// @param sessionStart  host clock time for time 0 of a movie that is not yet open
    /// @throws StreamAssetWriterSinkError, MediaError, FileError
    void appendFallbackFrame(double sessionStart);

    /// Writes the last picture once more and completes the movie, which then lasts until `endTime`.
    /// @param endTime  host clock
    /// @throws whatever stopped the writing; then the file stays as far as it goes
    void finish(double endTime);

    /// Closes the file where it stands and leaves it on the disk.
    void abandon() noexcept;

private:
    [[nodiscard]] bool startSession(double time) noexcept;
    [[nodiscard]] MovieWriterSettings writerSettings() const;
    void write(const PixelBuffer& picture, double movieTime);
    void repeatLastPicture(double movieTime);
    void fail(const char* context) noexcept;

    const Settings settings_;
    std::unique_ptr<MovieWriter> writer_;
    std::exception_ptr startFailure_;
    std::exception_ptr failure_; ///< what stopped the writing for good
    std::optional<double> sessionStart_;
    bool hasVideoFrames_ = false;
    PixelBuffer lastPicture_;
    double lastMovieTime_ = 0;             ///< of the last picture written
    std::optional<double> unflushedSince_; ///< host clock
};

} // namespace tavrin
