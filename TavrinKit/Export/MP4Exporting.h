#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Compositing/ExportError.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/VideoComposition.h"
#include "TavrinKit/Project/ExportPreset.h"

namespace tavrin {

/// One movie to be made.
struct ExportRequest {
    std::filesystem::path sourceURL;
    std::optional<MediaAsset> sourceAsset; ///< absent: opened from `sourceURL`
    std::filesystem::path destinationURL;  ///< a file there is replaced
    ExportPreset preset;
    /// Absent: the source as it is, cropped and scaled when its size is not the preset's.
    std::optional<VideoComposition> videoComposition;
    std::optional<AudioMix> audioMix; ///< absent: all audio tracks at volume 1
};

/// The movie that came out, and what it took.
struct ExportResult {
    std::filesystem::path outputURL;
    double durationSeconds = 0; ///< as the finished file says
    std::int64_t frameCount = 0;
    double elapsedSeconds = 0; ///< from the call to its return

    [[nodiscard]] double framesPerSecond() const {
        return elapsedSeconds > 0 ? double(frameCount) / elapsedSeconds : 0;
    }
};

/// Takes the finished share of an export, 0...1, never falling. Called on the thread that exports.
using ExportProgressHandler = std::function<void(double fraction)>;

/// Makes movies of media.
class MP4Exporting {
public:
    virtual ~MP4Exporting() = default;

    /// Blocks until the movie lies at the destination. Any thread; calls of one exporter run one at a time,
    /// so none comes from its own progress handler.
    /// @param onProgress  may be empty; what it throws ends the export
    /// @param stop        a request ends the export within a few tenths of a second
    /// @throws ExportError; FileError when the old file at the destination can't be removed. Then no file
    ///         lies at the destination, except an old one that couldn't be removed.
    virtual ExportResult exportMovie(const ExportRequest& request, const ExportProgressHandler& onProgress,
                                     std::stop_token stop) = 0;

    ExportResult exportMovie(const ExportRequest& request, std::stop_token stop = {}) {
        return exportMovie(request, {}, std::move(stop));
    }
};

} // namespace tavrin
