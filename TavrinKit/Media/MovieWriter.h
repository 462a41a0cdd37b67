#pragma once

#include <memory>
#include <optional>
#include <span>
#include <stop_token>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Media/MovieSettings.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// Encodes pictures and sound into a movie.
///
/// Video never uses frame reordering. Times are seconds from the start of the movie and must increase
/// strictly; with a constant rate they are rounded to the frame grid. Packets of both tracks are
/// interleaved by time. One thread at a time, not necessarily always the same.
class MovieWriter {
public:
    /// Opens the encoders and the file.
    /// @throws MediaError, FileError
    explicit MovieWriter(const MovieWriterSettings& settings);
    ~MovieWriter(); ///< as `cancel` when not finished
    MovieWriter(const MovieWriter&) = delete;
    MovieWriter& operator=(const MovieWriter&) = delete;

    /// @param picture  i420 of the track's size; read before the call returns. With times of its own a movie
    ///                 keeps the last one, without copying it, to repeat it in a pause of half an hour.
    /// @throws MediaError; after writingFailed nothing more can be written
    void appendVideo(const PixelBuffer& picture, double time);

    /// @param interleaved  -1...1
    /// @param time         of the first frame; a gap behind the earlier sound becomes silence, what overlaps
    ///                     it or lies before the movie is dropped. A difference below 10 ms is jitter: the
    ///                     sound goes on without a break.
    /// @throws MediaError
    void appendAudio(std::span<const float> interleaved, double time);

    /// What has left the encoders leaves the process as a fragment; only with `crashSafe`. With `lowLatency`
    /// that is every picture so far; the last one is told no end, it stays until the next one begins.
    /// @throws MediaError
    void flushFragment();

    /// Drains the encoders and completes the file. The last picture stays on screen until `endTime`, when
    /// one is given and it is later; else for one frame, or 1/60 s.
    ///
    /// A crash-safe movie that cannot be made plain, because the disk is full say, stays in fragments: it
    /// plays as well, and the failure is only logged.
    /// @param stop  a request leaves the movie unfinished, until its file is complete
    /// @throws MediaError, FileError, CancellationError
    void finish(std::optional<double> endTime = {}, const std::stop_token& stop = {});

    /// Stops and removes the file. Harmless after `finish`.
    void cancel() noexcept;

    /// Stops and leaves a crash-safe file with what was flushed; removes any other. Harmless after `finish`.
    void abandon() noexcept;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
