#pragma once

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/Orientation.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// Makes what a decoder gives into the one form in which pictures go about: i420, BT.709, limited range, one
/// size, upright. What has that form already is handed on without a copy.
///
/// Pictures that don't name their matrix count as BT.709 from 720 rows on and as BT.601 below, as players do.
class PictureNormalizer {
public:
    /// @param size  of the track, as stored; other pictures are scaled to it
    PictureNormalizer(PixelSize size, Orientation orientation) : size_(size), orientation_(orientation) {}

    /// @return empty when the picture cannot be converted
    [[nodiscard]] PixelBuffer normalize(ffmpeg::Frame frame);

private:
    [[nodiscard]] bool isNormal(const AVFrame& frame) const;
    [[nodiscard]] bool isNormalButForSampling(const AVFrame& frame) const;
    [[nodiscard]] PixelBuffer resample(const AVFrame& frame);
    [[nodiscard]] PixelBuffer convert(const AVFrame& frame);

    PixelSize size_;
    Orientation orientation_;
    ffmpeg::Scaler scaler_;
};

} // namespace tavrin
