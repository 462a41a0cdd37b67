#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/MovieSettings.h"

namespace tavrin {

/// Copies the packets of a fragmented file into a plain one that takes its place: same tracks and times, with
/// an index and edit lists.
struct PlainCopy {
    MovieContainer container = MovieContainer::mp4;
    bool indexFirst = false;
    struct Track {
        const AVCodecParameters* parameters = nullptr;
        AVRational timeBase{};
        std::vector<ffmpeg::Packet> preamble;     ///< go before the file's own packets
        std::optional<std::int64_t> lastDuration; ///< of the last packet
    };
    std::vector<Track> tracks;      ///< in the file's order
    std::optional<double> patience; ///< seconds; running out of it is a failure

    /// On failure the file is as it was.
    /// @throws MediaError, FileError
    void replace(const std::filesystem::path& path);
};

} // namespace tavrin
