#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// What a movie says of its video track.
struct VideoTrackInfo {
    PixelSize naturalSize;
    PixelSize displaySize;       ///< with the track's rotation and sample aspect applied
    double nominalFrameRate = 0; ///< at most 1000; 0 when unknown
    double duration = 0;         ///< seconds: where the track ends on the movie's clock
    std::int64_t frameCount = 0; ///< 0 when the container doesn't say
    std::string codecName;       ///< FFmpeg's name, as in "h264"
    std::string profileName;     ///< as in "High"; may be empty
};

struct AudioTrackInfo {
    int sampleRate = 0;
    int channels = 0;
    double duration = 0; ///< seconds: where the track ends on the movie's clock
};

/// What can be said of a media file without decoding all of it. Where its head doesn't say how long it is, as
/// after a crash, all packets are read.
struct MediaInfo {
    double duration = 0; ///< seconds; the longest track's
    std::vector<VideoTrackInfo> video;
    std::vector<AudioTrackInfo> audio;
};

/// @throws MediaError (unreadable), FileError
[[nodiscard]] MediaInfo probeMedia(const std::filesystem::path& path);

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

/// Follows a movie along a clock: the picture on screen at each time asked.
///
/// Times that grow are read through without seeking; a step back, or ahead over a key frame, seeks. Times are
/// compared to half a microsecond. One thread at a time.
class VideoFollower {
public:
    explicit VideoFollower(std::unique_ptr<VideoReader> reader);

    /// The last picture shown at or before `time`; the first of the movie for an earlier time.
    /// @return nothing only when the movie has no picture at all
    /// @throws MediaError
    [[nodiscard]] std::optional<DecodedFrame> frame(double time);

    /// The time at which the picture after the last answer begins; nothing when it is the last.
    [[nodiscard]] std::optional<double> nextChange();

private:
    void start(double time);
    void advance();

    std::unique_ptr<VideoReader> reader_;
    std::optional<DecodedFrame> current_;
    std::optional<DecodedFrame> following_;
    bool started_ = false;
    bool isFirst_ = false; ///< `current_` is the movie's first picture, asked for with an earlier time
};

/// Decodes one audio track to interleaved float at a chosen rate and channel count.
///
/// One thread at a time.
class AudioReader {
public:
    /// @param track  index among the audio tracks
    /// @throws MediaError, FileError
    AudioReader(const std::filesystem::path& path, int track, int sampleRate, int channels);
    ~AudioReader();
    AudioReader(const AudioReader&) = delete;
    AudioReader& operator=(const AudioReader&) = delete;

    /// The next run of frames in time order, without gaps: silence stands where the track has none. Starts
    /// at time 0 of the movie.
    /// @return nothing at the end
    /// @throws MediaError
    [[nodiscard]] std::optional<std::vector<float>> next();

    /// The next `next` starts with this frame of the movie, counted from time 0 at the chosen rate. What
    /// comes then is what reading through from the start would have given there.
    /// @param frame  below 0 counts as 0
    /// @throws MediaError
    void seek(std::int64_t frame);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/// The sound of a track at any place.
///
/// Places that grow are read through without seeking. One thread at a time.
class AudioFollower {
public:
    /// @throws as AudioReader
    AudioFollower(const std::filesystem::path& path, int track, int sampleRate, int channels);

    /// Fills `out` with the sound from a frame on; silence stands before the movie's start and behind the
    /// end.
    /// @param out  a whole number of frames
    /// @throws MediaError
    void read(std::int64_t frame, std::span<float> out);

private:
    void moveTo(std::int64_t frame);
    [[nodiscard]] bool refill();

    std::unique_ptr<AudioReader> reader_;
    int sampleRate_;
    std::size_t channels_;
    std::int64_t position_ = 0; ///< the frame that comes next
    std::vector<float> decoded_;
    std::size_t taken_ = 0; ///< samples of `decoded_` that were used
    bool hasEnded_ = false;
};

} // namespace tavrin
