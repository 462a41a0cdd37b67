#include "TavrinKit/Media/PictureScaler.h"

#include <array>
#include <new>

extern "C" {
#include <libavutil/opt.h>
}

#include "TavrinKit/Media/FFmpeg.h"

namespace tavrin {
namespace {

/// In 1/256 of a luma sample: chroma lies on the left column of its pair, between the two rows.
constexpr int chromaFromLeft = 0;
constexpr int chromaFromTop = 128;

ffmpeg::Scaler makeScaler(PixelSize from, PixelSize to) {
    ffmpeg::quietLogging();
    ffmpeg::Scaler scaler(sws_alloc_context());
    if (!scaler) {
        throw std::bad_alloc();
    }
    const struct {
        const char* name;
        std::int64_t value;
    } options[] = {{"srcw", from.width},
                   {"srch", from.height},
                   {"src_format", AV_PIX_FMT_YUV420P},
                   {"src_h_chr_pos", chromaFromLeft},
                   {"src_v_chr_pos", chromaFromTop},
                   {"dstw", to.width},
                   {"dsth", to.height},
                   {"dst_format", AV_PIX_FMT_YUV420P},
                   {"dst_h_chr_pos", chromaFromLeft},
                   {"dst_v_chr_pos", chromaFromTop},
                   {"sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND}};
    for (const auto& option : options) {
        av_opt_set_int(scaler.get(), option.name, option.value, 0);
    }
    if (sws_init_context(scaler.get(), nullptr, nullptr) < 0) {
        throw std::bad_alloc();
    }
    return scaler;
}

} // namespace

struct PictureScaler::Implementation {
    ffmpeg::Scaler scaler;
    PixelSize from;
    PixelBuffer scaled;
};

PictureScaler::PictureScaler() : implementation_(std::make_unique<Implementation>()) {}

PictureScaler::~PictureScaler() = default;

void PictureScaler::scale(const PixelBuffer& source, const PixelBuffer& target) {
    Implementation& its = *implementation_;
    if (!its.scaler || its.from != source.size() || its.scaled.size() != target.size()) {
        its.scaler = makeScaler(source.size(), target.size());
        its.from = source.size();
        its.scaled = PixelBuffer::allocate(PixelFormat::i420, target.size());
    }
    std::array<const std::uint8_t*, 4> in{};
    std::array<int, 4> inStrides{};
    std::array<std::uint8_t*, 4> out{};
    std::array<int, 4> outStrides{};
    for (int i = 0; i < source.planeCount(); ++i) {
        const auto index = std::size_t(i);
        in[index] = source.row(i, 0);
        inStrides[index] = int(source.plane(i).stride);
        out[index] = its.scaled.row(i, 0);
        outStrides[index] = int(its.scaled.plane(i).stride);
    }
    sws_scale(its.scaler.get(), in.data(), inStrides.data(), 0, source.size().height, out.data(),
              outStrides.data());
    target.copyFrom(its.scaled); // The scaler writes a little beyond the ends of rows.
}

} // namespace tavrin
