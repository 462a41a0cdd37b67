#include "TavrinKit/Media/PictureNormalizer.h"

#include <array>
#include <memory>
#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "TavrinKit/Media/PixelConversion.h"

namespace tavrin {
namespace {

AVColorSpace matrixOf(const AVFrame& frame) {
    switch (const int said = ffmpeg::numberIn(frame.colorspace)) {
    case AVCOL_SPC_BT709:
    case AVCOL_SPC_FCC:
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_SMPTE240M:
    case AVCOL_SPC_BT2020_NCL:
        return AVColorSpace(said);
    default:
        return frame.height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    }
}

PixelBuffer wrap(ffmpeg::Frame frame) {
    const std::shared_ptr<const AVFrame> owner(std::move(frame));
    PixelBuffer::Planes planes{};
    for (std::size_t i = 0; i < 3; ++i) {
        planes[i] = {owner->data[i], owner->linesize[i], i == 0 ? owner->width : (owner->width + 1) / 2,
                     i == 0 ? owner->height : (owner->height + 1) / 2};
    }
    return PixelBuffer::wrap(PixelFormat::i420, {owner->width, owner->height}, planes, owner);
}

} // namespace

PixelBuffer PictureNormalizer::normalize(ffmpeg::Frame frame) {
    if (isNormal(*frame)) {
        return wrap(std::move(frame));
    }
    return isNormalButForSampling(*frame) ? resample(*frame) : convert(*frame);
}

bool PictureNormalizer::isNormal(const AVFrame& frame) const {
    return frame.format == AV_PIX_FMT_YUV420P && ffmpeg::numberIn(frame.color_range) != AVCOL_RANGE_JPEG &&
           matrixOf(frame) == AVCOL_SPC_BT709 && PixelSize{frame.width, frame.height} == size_ &&
           orientation_.isUpright();
}

/// Another depth or other chroma rows, as of ProRes, in the right colours.
bool PictureNormalizer::isNormalButForSampling(const AVFrame& frame) const {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(AVPixelFormat(frame.format));
    constexpr std::uint64_t others = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_HWACCEL |
                                     AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_FLOAT;
    return format != nullptr && (format->flags & others) == 0 &&
           (format->flags & AV_PIX_FMT_FLAG_PLANAR) != 0 && format->nb_components == 3 &&
           !ffmpeg::samplingOf(frame).isFullRange && matrixOf(frame) == AVCOL_SPC_BT709 &&
           PixelSize{frame.width, frame.height} == size_ && orientation_.isUpright();
}

PixelBuffer PictureNormalizer::resample(const AVFrame& frame) {
    const auto format = AVPixelFormat(frame.format);
    scaler_.reset(sws_getCachedContext(scaler_.release(), size_.width, size_.height, format, size_.width,
                                       size_.height, AV_PIX_FMT_YUV420P, SWS_BICUBIC | SWS_ACCURATE_RND,
                                       nullptr, nullptr, nullptr));
    PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, size_);
    std::array<std::uint8_t*, 4> rows{};
    std::array<int, 4> strides{};
    for (int i = 0; i < 3; ++i) {
        rows[std::size_t(i)] = picture.row(i, 0);
        strides[std::size_t(i)] = int(picture.plane(i).stride);
    }
    const bool isDone = scaler_ && sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height,
                                             rows.data(), strides.data()) >= 0;
    return isDone ? picture : PixelBuffer();
}

PixelBuffer PictureNormalizer::convert(const AVFrame& frame) {
    const auto [format, isFull] = ffmpeg::samplingOf(frame);
    scaler_.reset(sws_getCachedContext(
        scaler_.release(), frame.width, frame.height, format, size_.width, size_.height, AV_PIX_FMT_BGRA,
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
    if (!scaler_) {
        return {};
    }
    const int* matrix = sws_getCoefficients(matrixOf(frame));
    sws_setColorspaceDetails(scaler_.get(), matrix, isFull ? 1 : 0, matrix, 1, 0, 1 << 16, 1 << 16);
    PixelBuffer colours = PixelBuffer::allocate(PixelFormat::bgra8, size_);
    std::array<std::uint8_t*, 4> rows = {colours.row(0, 0)};
    const std::array<int, 4> strides = {int(colours.plane(0).stride)};
    if (sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, rows.data(), strides.data()) <
        0) {
        return {};
    }
    colours = oriented(colours, orientation_);
    PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, colours.size());
    convertBGRXToI420(colours, picture, {0, 0, colours.size().width, colours.size().height});
    return picture;
}

} // namespace tavrin
