#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

enum class VideoCodec { h264, hevc };
enum class VideoProfile { h264Baseline, h264Main, h264High, hevcMain };

/// How much work the encoder spends on a picture; the names are libx264's.
enum class EncoderEffort { ultrafast, superfast, veryfast };

enum class MovieContainer { quickTime, mp4 };

/// The video track of a movie to be written. Always BT.709, limited range, 4:2:0, tagged so in the stream
/// and in the container.
struct VideoTrackSettings {
    PixelSize size;                          ///< even on both axes; the writer refuses others
    VideoCodec codec = VideoCodec::h264;
    VideoProfile profile = VideoProfile::h264High;
    EncoderEffort effort = EncoderEffort::veryfast;
    std::optional<std::int64_t> averageBitRate; ///< bits per second
    double constantQuality = 18;             ///< the encoder's CRF; used when there is no bit rate
    /// Frames per second of a constant-rate movie. Absent: frames are stamped with their own times, in
    /// microseconds.
    std::optional<int> frameRate;
    int maximumKeyFrameInterval = 120;       ///< frames
    bool lowLatency = false;                 ///< no look-ahead: every picture leaves the encoder at once
    int threads = 0;                         ///< 0: as many as the encoder likes
};

struct AudioTrackSettings {
    int sampleRate = 48000;
    int channels = 2;
    int bitRate = 192000;                    ///< bits per second, AAC
};

struct MovieWriterSettings {
    std::filesystem::path path;              ///< must not exist, or is replaced
    MovieContainer container = MovieContainer::mp4;
    std::optional<VideoTrackSettings> video;
    std::optional<AudioTrackSettings> audio;
    /// Write in fragments, so that what was written can be played after a crash; `finish` then turns the
    /// file into a plain one.
    bool crashSafe = false;
    bool optimizeForNetworkUse = false;      ///< the index before the media
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

    /// @param picture  i420 of the track's size; read before the call returns
    /// @throws MediaError
    void appendVideo(const PixelBuffer& picture, double time);

    /// @param interleaved  -1...1
    /// @param time         of the first frame; a gap behind the earlier sound becomes silence
    /// @throws MediaError
    void appendAudio(std::span<const float> interleaved, double time);

    /// Flushes what is in the encoders to the disk as a fragment; only with `crashSafe`.
    void flushFragment();

    /// Drains the encoders and completes the file. The last picture stays on screen until `endTime`, when
    /// one is given and it is later.
    /// @throws MediaError, FileError
    void finish(std::optional<double> endTime = {});

    /// Stops and removes the file. Harmless after `finish`.
    void cancel() noexcept;

    [[nodiscard]] std::int64_t videoFrameCount() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
