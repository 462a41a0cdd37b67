#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "TavrinKit/Support/Geometry.h"

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
    PixelSize size; ///< even on both axes, at most 16384; the writer refuses others
    VideoCodec codec = VideoCodec::h264;
    VideoProfile profile = VideoProfile::h264High;
    EncoderEffort effort = EncoderEffort::veryfast;
    std::optional<std::int64_t> averageBitRate; ///< bits per second
    double constantQuality = 18; ///< the encoder's CRF, 0...51, the finest first; used without a bit rate
    /// The finest quantiser (0...51) that a bit rate may lead to; 0: no bound. A still screen leaves so many
    /// bits over that the encoder would spend them, and the time to write them, on what nobody can see.
    int finestQuantizer = 0;
    /// Frames per second of a constant-rate movie, 1...1000. Absent: frames are stamped with their own times,
    /// in microseconds.
    std::optional<int> frameRate;
    int maximumKeyFrameInterval = 120; ///< frames
    bool lowLatency = false;           ///< no look-ahead: every picture leaves the encoder at once
    int threads = 0;                   ///< 0: as many as the encoder likes
};

/// The sound track of a movie to be written.
struct AudioTrackSettings {
    int sampleRate = 48000; ///< 1000...768000; AAC has only some of them, at most 96000
    int channels = 2;       ///< 1...8
    int bitRate = 192000;   ///< bits per second; without meaning for linear PCM
    AudioCodec codec = AudioCodec::aac;
};

/// A movie to be written: with pictures, sound or both.
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

} // namespace tavrin
