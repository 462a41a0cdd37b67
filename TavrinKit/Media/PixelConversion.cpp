#include "TavrinKit/Media/PixelConversion.h"

#include <algorithm>
#include <array>
#include <cstring>

// Highway compiles this file once per instruction set and picks one at run time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "TavrinKit/Media/PixelConversion.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tavrin::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

void convertToI420(const PixelBuffer& source, const PixelBuffer& target, const PixelRect& area) {
    convertBGRXToI420Reference(source, target, area);
}

#else

constexpr std::size_t blockPixels = 512;
constexpr std::size_t mostLanes = 256; // bytes of the widest vector that Highway knows

using Bytes8 = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes8>;
using SignedWords = hn::RebindToSigned<Words>;
using HalfBytes = hn::Rebind<std::uint8_t, SignedWords>;

/// Blue, green and red of a run of pixel pairs, both rows added up: the left columns, and the right ones
/// with the pair before the run in front.
struct ColumnSums {
    std::array<std::array<std::uint16_t, blockPixels / 2 + mostLanes>, 3> left;
    std::array<std::array<std::uint16_t, blockPixels / 2 + mostLanes>, 3> right;
};

/// Luma of the even and of the odd bytes of three channels, in 8.8 fixed point, put together again.
template <class V>
HWY_INLINE V luma(V b, V g, V r) {
    const Words words;
    const auto kB = hn::Set(words, 4064);                   // 0.0722 * 219 / 255
    const auto kG = hn::Set(words, 40254);                  // 0.7152 * 219 / 255
    const auto kR = hn::Set(words, 11966);                  // 0.2126 * 219 / 255
    const auto offset = hn::Set(words, 16 * 256 + 128 + 1); // the last 1 makes up for what the products drop
    const auto high = hn::Set(words, 0xFF00);
    const auto even = [&](V v) HWY_ATTR {
        return hn::ShiftLeft<8>(hn::BitCast(words, v));
    };
    const auto odd = [&](V v) HWY_ATTR {
        return hn::And(hn::BitCast(words, v), high);
    };
    const auto weighted = [&](auto wb, auto wg, auto wr) HWY_ATTR {
        return hn::Add(hn::Add(hn::MulHigh(wb, kB), hn::MulHigh(wg, kG)),
                       hn::Add(hn::MulHigh(wr, kR), offset));
    };
    const auto yEven = weighted(even(b), even(g), even(r));
    const auto yOdd = weighted(odd(b), odd(g), odd(r));
    return hn::BitCast(Bytes8(), hn::Or(hn::ShiftRight<8>(yEven), hn::And(yOdd, high)));
}

/// Writes the luma of a run of whole vectors in two rows and adds the rows up for the chroma.
HWY_INLINE void lumaAndSums(const std::uint8_t* row0, const std::uint8_t* row1, std::size_t pixels,
                            std::uint8_t* luma0, std::uint8_t* luma1, ColumnSums& sums) {
    const Bytes8 bytes;
    const Words words;
    const std::size_t lanes = hn::Lanes(bytes);
    const auto low = hn::Set(words, 0x00FF);
    for (std::size_t x = 0; x < pixels; x += lanes) {
        hn::Vec<Bytes8> b0, g0, r0, x0, b1, g1, r1, x1;
        hn::LoadInterleaved4(bytes, row0 + 4 * x, b0, g0, r0, x0);
        hn::LoadInterleaved4(bytes, row1 + 4 * x, b1, g1, r1, x1);
        hn::StoreU(luma(b0, g0, r0), bytes, luma0 + x);
        hn::StoreU(luma(b1, g1, r1), bytes, luma1 + x);

        const auto addRows = [&](std::size_t channel, auto v0, auto v1) HWY_ATTR {
            const auto w0 = hn::BitCast(words, v0);
            const auto w1 = hn::BitCast(words, v1);
            hn::StoreU(hn::Add(hn::And(w0, low), hn::And(w1, low)), words, sums.left[channel].data() + x / 2);
            hn::StoreU(hn::Add(hn::ShiftRight<8>(w0), hn::ShiftRight<8>(w1)), words,
                       sums.right[channel].data() + x / 2 + 1);
        };
        addRows(0, b0, b1);
        addRows(1, g0, g1);
        addRows(2, r0, r1);
    }
}

/// Chroma out of the sums, for a run of whole vectors of pairs.
HWY_INLINE void chroma(const ColumnSums& sums, std::size_t pairs, std::uint8_t* u, std::uint8_t* v) {
    const Words words;
    const SignedWords signedWords;
    const HalfBytes half;
    const auto window = [&](std::size_t channel, std::size_t i) HWY_ATTR {
        const auto left = hn::LoadU(words, sums.left[channel].data() + i);
        const auto before = hn::LoadU(words, sums.right[channel].data() + i);
        const auto after = hn::LoadU(words, sums.right[channel].data() + i + 1);
        // Eight pixels are added up: four bits more make it 128 times their mean.
        return hn::BitCast(signedWords,
                           hn::ShiftLeft<4>(hn::Add(hn::Add(left, left), hn::Add(before, after))));
    };
    const auto offset = hn::Set(signedWords, 128 * 128 + 64);
    const auto component = [&](auto b, auto g, auto r, int kB, int kG, int kR) HWY_ATTR {
        const auto weighted =
            hn::Add(hn::Add(hn::MulFixedPoint15(b, hn::Set(signedWords, std::int16_t(kB))),
                            hn::MulFixedPoint15(g, hn::Set(signedWords, std::int16_t(kG)))),
                    hn::Add(hn::MulFixedPoint15(r, hn::Set(signedWords, std::int16_t(kR))), offset));
        return hn::DemoteTo(half, hn::ShiftRight<7>(weighted));
    };
    for (std::size_t i = 0; i < pairs; i += hn::Lanes(words)) {
        const auto b = window(0, i);
        const auto g = window(1, i);
        const auto r = window(2, i);
        // 224 / 255 of (B - Y) / 1.8556 and of (R - Y) / 1.5748; each row adds up to nothing for grey
        hn::StoreU(component(b, g, r, 14392, -11094, -3298), half, u + i);
        hn::StoreU(component(b, g, r, -1320, -13072, 14392), half, v + i);
    }
}

/// Converts two rows that start at an even column; `before` is the pixel to the left of each.
void convertRowPair(const std::uint8_t* row0, const std::uint8_t* row1, const std::uint8_t* before0,
                    const std::uint8_t* before1, std::size_t width, std::uint8_t* luma0, std::uint8_t* luma1,
                    std::uint8_t* u, std::uint8_t* v) {
    const std::size_t lanes = hn::Lanes(Bytes8());
    ColumnSums sums;
    for (std::size_t c = 0; c < 3; ++c) {
        sums.right[c][0] = std::uint16_t(before0[c] + before1[c]);
    }
    const std::size_t wholeVectors = width / lanes * lanes;
    for (std::size_t x = 0; x < wholeVectors; x += blockPixels) {
        const std::size_t count = std::min(blockPixels, wholeVectors - x);
        lumaAndSums(row0 + 4 * x, row1 + 4 * x, count, luma0 + x, luma1 + x, sums);
        chroma(sums, count / 2, u + x / 2, v + x / 2);
        for (auto& right : sums.right) {
            right[0] = right[count / 2];
        }
    }
    const std::size_t rest = width - wholeVectors;
    if (rest == 0) {
        return;
    }
    // The rest goes through a vector of its own, filled up with the last pixel.
    std::array<std::array<std::uint8_t, 4 * mostLanes>, 2> pixels;
    std::array<std::array<std::uint8_t, mostLanes>, 4> out;
    const std::array<const std::uint8_t*, 2> rows = {row0, row1};
    for (std::size_t k = 0; k < 2; ++k) {
        std::memcpy(pixels[k].data(), rows[k] + 4 * wholeVectors, 4 * rest);
        for (std::size_t i = rest; i < lanes; ++i) {
            std::memcpy(pixels[k].data() + 4 * i, rows[k] + 4 * (width - 1), 4);
        }
    }
    lumaAndSums(pixels[0].data(), pixels[1].data(), lanes, out[0].data(), out[1].data(), sums);
    chroma(sums, lanes / 2, out[2].data(), out[3].data());
    std::memcpy(luma0 + wholeVectors, out[0].data(), rest);
    std::memcpy(luma1 + wholeVectors, out[1].data(), rest);
    std::memcpy(u + wholeVectors / 2, out[2].data(), (rest + 1) / 2);
    std::memcpy(v + wholeVectors / 2, out[3].data(), (rest + 1) / 2);
}

void convertToI420(const PixelBuffer& source, const PixelBuffer& target, const PixelRect& area) {
    const PixelRect wide = widenedForChroma(area, source.size());
    const int before = std::max(wide.x - 1, 0);
    for (int y = wide.y; y < wide.y + wide.height; y += 2) {
        const int y1 = std::min(y + 1, source.size().height - 1);
        const std::uint8_t* row0 = source.row(0, y);
        const std::uint8_t* row1 = source.row(0, y1);
        convertRowPair(row0 + 4 * wide.x, row1 + 4 * wide.x, row0 + 4 * before, row1 + 4 * before,
                       std::size_t(wide.width), target.row(0, y) + wide.x, target.row(0, y1) + wide.x,
                       target.row(1, y / 2) + wide.x / 2, target.row(2, y / 2) + wide.x / 2);
    }
}

#endif

} // namespace tavrin::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrin {

HWY_EXPORT(convertToI420);

PixelRect widenedForChroma(const PixelRect& area, PixelSize size) {
    const auto held = [](std::int64_t value, int most) {
        return int(std::clamp<std::int64_t>(value, 0, most));
    };
    const std::int64_t endX = std::int64_t(area.x) + area.width;
    const std::int64_t endY = std::int64_t(area.y) + area.height;
    const bool isOutside = endX <= 0 || endY <= 0 || area.x >= size.width || area.y >= size.height;
    if (area.width <= 0 || area.height <= 0 || isOutside) {
        return {};
    }
    const int left = held(area.x, size.width) & ~1;
    const int top = held(area.y, size.height) & ~1;
    const int right = held((endX + 1) / 2 * 2 + 2, size.width);
    const int bottom = held((endY + 1) / 2 * 2, size.height);
    return {left, top, right - left, bottom - top};
}

void convertBGRXToI420(const PixelBuffer& source, const PixelBuffer& target, PixelRect area) {
    HWY_DYNAMIC_DISPATCH(convertToI420)(source, target, area);
}

} // namespace tavrin
#endif
