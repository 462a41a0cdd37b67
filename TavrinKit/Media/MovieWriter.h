#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

enum class VideoCodec {
    h264,
    hevc,
    proRes422, ///< nearly lossless, every picture a key frame: what is to be encoded again; only in QuickTime
};
enum class VideoProfile { h264Baseline, h264Main, h264High, hevcMain };

enum class AudioCodec {
    aac,
    linearPCM, ///< lossless, 24 bits a sample; only in QuickTime
};

/// How much work the encoder spends on a picture; the names are libx264's.
enum class EncoderEffort { ultrafast, superfast, veryfast };

enum class MovieContainer { quickTime, mp4 };

/// The video track of a movie to be written. Always BT.709, limited range, tagged so in the stream and in the
/// container; 4:2:0, with ProRes 4:2:2.
///
/// ProRes has a quality of its own: of all fields it heeds `size`, `frameRate` and `threads`.
struct VideoTrackSettings {
    PixelSize size; ///< even on both axes; the writer refuses others
    VideoCodec codec = VideoCodec::h264;
    VideoProfile profile = VideoProfile::h264High;
    EncoderEffort effort = EncoderEffort::veryfast;
    std::optional<std::int64_t> averageBitRate; ///< bits per second
    double constantQuality = 18;                ///< the encoder's CRF; used when there is no bit rate
    /// The finest quantiser (0...51) that a bit rate may lead to; 0: no bound. A still screen leaves so many
    /// bits over that the encoder would spend them, and the time to write them, on what nobody can see.
    int finestQuantizer = 0;
    /// Frames per second of a constant-rate movie. Absent: frames are stamped with their own times, in
    /// microseconds.
    std::optional<int> frameRate;
    int maximumKeyFrameInterval = 120; ///< frames
    bool lowLatency = false;           ///< no look-ahead: every picture leaves the encoder at once
    int threads = 0;                   ///< 0: as many as the encoder likes
};

struct AudioTrackSettings {
    int sampleRate = 48000;
    int channels = 2;
    int bitRate = 192000; ///< bits per second; without meaning for linear PCM
    AudioCodec codec = AudioCodec::aac;
};

struct MovieWriterSettings {
    std::filesystem::path path; ///< is replaced when the movie is complete; a crash-safe one must not exist
    MovieContainer container = MovieContainer::mp4;
    std::optional<VideoTrackSettings> video;
    std::optional<AudioTrackSettings> audio;
    /// Write in fragments, so that what was written can be played after a crash; `finish` then turns the
    /// file into a plain one. Such a file stands at `path` from the start; any other one grows under a hidden
    /// name beside it.
    bool crashSafe = false;
    /// Seconds that `finish` may take for that; a file too long for it stays in fragments. Absent: no bound.
    std::optional<double> plainFilePatience;
    bool optimizeForNetworkUse = false; ///< the index before the media
};

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

    [[nodiscard]] std::int64_t videoFrameCount() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
