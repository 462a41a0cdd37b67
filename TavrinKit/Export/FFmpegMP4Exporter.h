#pragma once

#include <cstdint>

#include "TavrinKit/Export/MP4Exporting.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/Turns.h"

namespace tavrin {

/// Encodes an asset, drawn through a composition and heard through a mix, into an H.264 or HEVC movie.
///
/// The movie runs at the preset's frame rate from first to last: it has ceil(duration x rate) frames, and
/// frame i shows what is on screen at i / rate. Decoding, drawing and encoding go on at the same time and
/// hand over through short queues, so that memory doesn't grow with the length. All threads of an export
/// have ended when the call returns, but for a flush of the file that a cancelled one didn't wait for.
class FFmpegMP4Exporter : public MP4Exporting {
public:
    using MP4Exporting::exportMovie;
    ExportResult exportMovie(const ExportRequest& request, const ExportProgressHandler& onProgress,
                             std::stop_token stop) override;

    /// True when a picture of the source doesn't fit the target as it is: a size off by more than one
    /// pixel, an aspect ratio off by more than 0.001, or a dimension that isn't positive.
    [[nodiscard]] static bool requiresVideoComposition(Size2D sourceSize, Size2D targetSize);

    /// `requiresVideoComposition` of the asset's display size; true when that can't be told.
    [[nodiscard]] static bool shouldApplyVideoComposition(const MediaAsset& asset,
                                                          const ExportPreset& preset);

    /// The size of the first video track's pictures as a viewer sees them, rotated as the track says.
    /// @throws MediaError (noVideoTrack)
    [[nodiscard]] static Size2D resolvedDisplaySize(const MediaAsset& asset);

    /// The composition that only fits: each picture is cropped around its centre to the preset's aspect
    /// ratio and scaled to its resolution.
    [[nodiscard]] static VideoComposition makeVideoComposition(const ExportPreset& preset);

    /// The bit rate for a preset that names none, in megabits per second.
    [[nodiscard]] static double heuristicBitRateMbps(const ExportPreset& preset);

    /// Bits per second.
    [[nodiscard]] static std::int64_t resolvedAverageBitRate(const ExportPreset& preset);

    [[nodiscard]] static VideoTrackSettings videoOutputSettings(const ExportPreset& preset);
    [[nodiscard]] static AudioTrackSettings audioOutputSettings(const ExportPreset& preset);

private:
    Turns turns_;
};

} // namespace tavrin
