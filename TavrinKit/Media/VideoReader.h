#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// A decoded picture and the time from which it is on screen, until the next one's.
struct DecodedFrame {
    PixelBuffer pixels;     ///< i420, BT.709 limited range, display orientation
    double time = 0;        ///< seconds from the start of the movie
    std::int64_t index = 0; ///< a number that is this frame's own within the file and grows with time
};

/// Decodes the first video track of a movie in presentation order.
///
/// Pictures of other formats and matrices are converted; everything that leaves is BT.709 limited 4:2:0.
/// Pictures that don't name their matrix count as BT.709 from 720 rows on and as BT.601 below. Rotations are
/// applied, to the nearest quarter turn. A damaged stretch is skipped, not an error, as long as something can
/// be decoded. Only regular files are read, and nothing that they refer to. One thread at a time.
class VideoReader {
public:
    struct Options {
        int threads = 0; ///< decoder threads; 0: as many as there are cores
    };

    /// Seconds. Times are kept in microseconds at the best; asking with the time that was written must find
    /// the picture.
    static constexpr double timeTolerance = 0.5e-6;

    /// @throws MediaError, FileError
    explicit VideoReader(const std::filesystem::path& path, Options options);
    explicit VideoReader(const std::filesystem::path& path) : VideoReader(path, Options{}) {}
    ~VideoReader();
    VideoReader(const VideoReader&) = delete;
    VideoReader& operator=(const VideoReader&) = delete;

    [[nodiscard]] const VideoTrackInfo& info() const;

    /// The next picture, or nothing at the end.
    /// @throws MediaError
    [[nodiscard]] std::optional<DecodedFrame> next();

    /// The next `next` gives the picture that is on screen at `time`: the last one at or before it, or the
    /// first of the movie.
    /// @throws MediaError
    void seek(double time);

    /// Whether a seek to `upTo` would start behind `after`, as far as the file's index is known.
    [[nodiscard]] bool hasKeyFrameBetween(double after, double upTo) const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
