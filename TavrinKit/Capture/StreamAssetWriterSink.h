#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Capture/StreamAssetWriterSinkError.h"
#include "TavrinKit/Capture/StreamEncoder.h"

namespace tavrin {

/// Writes the temporary screen movie of a take while the stream delivers its samples.
///
/// Samples are handed to a thread of the sink's own behind a bounded queue. They never wait and never fail:
/// a picture that finds the queue full, or that can't be written, is dropped and counted. Sound is small and
/// never given up for a busy encoder: a minute of it may wait, for a disk that hangs. Only completing the
/// movie can fail. A take without a picture still gets a movie, of one black frame.
///
/// The movie's time 0 is the first sample's own presentation time. What was written so far can be played
/// even when the process is killed: up to about a second before that moment.
///
/// `append…`, `cancel` and the numbers may be called from any thread.
class StreamAssetWriterSink {
public:
    struct Settings {
        std::size_t queueDepth = 4;      ///< pictures that wait for the encoder at most
        StreamEncoder::Settings encoder; ///< place, size and sound are set by the constructor's arguments
    };

    /// @param width   pixels, even, at least 2
    /// @param height  pixels, even, at least 2
    /// @throws StreamAssetWriterSinkError
    StreamAssetWriterSink(const std::filesystem::path& outputURL, int width, int height,
                          bool includeSystemAudio, Settings settings);
    StreamAssetWriterSink(const std::filesystem::path& outputURL, int width, int height,
                          bool includeSystemAudio);
    ~StreamAssetWriterSink(); ///< as `cancel` when not finished
    StreamAssetWriterSink(const StreamAssetWriterSink&) = delete;
    StreamAssetWriterSink& operator=(const StreamAssetWriterSink&) = delete;

    /// A sample without a picture leaves no trace but its time.
    void appendVideo(VideoSample sample) noexcept;
    /// Ignored without an audio input.
    /// @return false when the sound is lost, because too much of it waits already
    [[nodiscard]] bool append(AudioSample sample) noexcept;

    /// Waits until everything that was appended is written, and sees to it that there is a picture.
    /// @return whether the caller is to call `finish`: true once; false after an earlier true or a `cancel`
    /// @throws StreamAssetWriterSinkError, MediaError, FileError when a movie without pictures can't get one;
    ///         the next call tries again
    [[nodiscard]] bool prepareForFinish();

    /// Completes the movie, whose last picture stays on screen until `endTime`. Only after a true from
    /// `prepareForFinish`.
    /// @param endTime  host clock
    /// @throws StreamAssetWriterSinkError, MediaError, FileError; what was written stays on the disk
    void finish(double endTime);

    /// Ends the writing within about a second and leaves on the disk what was written. Does nothing once
    /// `prepareForFinish` has returned true.
    void cancel() noexcept;

    /// Host clock time of the movie's time 0; nothing while there is no movie.
    [[nodiscard]] std::optional<double> sessionStart() const;

    /// Host clock time of the first picture that arrived.
    [[nodiscard]] std::optional<double> firstSampleTime() const;

    /// Pictures that arrived, whether written or dropped.
    [[nodiscard]] std::int64_t receivedFrames() const;
    [[nodiscard]] std::int64_t droppedFrames() const;

private:
    struct Core; // shared with the thread, which may outlive the sink when a disk hangs

    [[nodiscard]] bool waitForThread(std::optional<double> seconds) const noexcept;

    const std::shared_ptr<Core> core_;
    std::thread thread_;
};

} // namespace tavrin
