#include "TavrinKit/Imaging/Kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "TavrinKit/Imaging/VectorKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// Each loop runs over whole vectors and then once more over the last one, overlapping, so that no tail of
// single floats remains; only rows shorter than a vector are done one by one.

HWY_BEFORE_NAMESPACE();
namespace tavrin::imaging::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using F = hn::ScalableTag<float>;
using I = hn::RebindToSigned<F>;
using U8 = hn::Rebind<std::uint8_t, F>;

/// Calls vector(c) at c = 0, N, … and at columns - N; or single(c) for rows shorter than a vector.
template <typename Vector, typename Single>
HWY_INLINE void forColumns(int columns, const Vector& vector, const Single& single) {
    const int lanes = int(hn::Lanes(F()));
    if (columns < lanes) {
        for (int c = 0; c < columns; ++c) {
            single(c);
        }
        return;
    }
    int c = 0;
    for (; c + lanes <= columns; c += lanes) {
        vector(c);
    }
    if (c < columns) {
        vector(columns - lanes);
    }
}

void widen(const std::uint8_t* source, std::ptrdiff_t sourceStride, int rows, int columns, float* out,
           std::ptrdiff_t outStride) {
    const F f;
    const I i;
    const U8 u8;
    for (int r = 0; r < rows; ++r) {
        const std::uint8_t* in = source + r * sourceStride;
        float* to = out + r * outStride;
        forColumns(
            columns,
            [&](int c) {
                const auto wide = hn::PromoteTo(i, hn::LoadU(u8, in + c));
                hn::StoreU(hn::ConvertTo(f, wide), f, to + c);
            },
            [&](int c) { to[c] = float(in[c]); });
    }
}

HWY_INLINE auto load(const std::uint8_t* from) {
    return hn::ConvertTo(F(), hn::PromoteTo(I(), hn::LoadU(U8(), from)));
}

HWY_INLINE auto load(const float* from) {
    return hn::LoadU(F(), from);
}

// What reads where it writes must not use the overlapping last vector: the rest of a row is done one by one.

template <typename Sample>
void addWeighted(float* acc, std::ptrdiff_t accStride, const Sample* source, std::ptrdiff_t sourceStride,
                 int rows, int columns, float weight) {
    const F f;
    const int lanes = int(hn::Lanes(f));
    for (int r = 0; r < rows; ++r) {
        const Sample* in = source + r * sourceStride;
        float* to = acc + r * accStride;
        int c = 0;
        for (; c + lanes <= columns; c += lanes) {
            hn::StoreU(hn::MulAdd(load(in + c), hn::Set(f, weight), hn::LoadU(f, to + c)), f, to + c);
        }
        for (; c < columns; ++c) {
            to[c] += weight * float(in[c]);
        }
    }
}

template <int fixedTaps>
HWY_INLINE void combineRow(const float* source, std::ptrdiff_t stride, const float* weights, int taps,
                           int columns, float* to) {
    const F f;
    const int count = fixedTaps > 0 ? fixedTaps : taps;
    forColumns(
        columns,
        [&](int c) {
            auto sum = hn::Mul(hn::Set(f, weights[0]), hn::LoadU(f, source + c));
            for (int t = 1; t < count; ++t) {
                sum = hn::MulAdd(hn::Set(f, weights[t]), hn::LoadU(f, source + t * stride + c), sum);
            }
            hn::StoreU(sum, f, to + c);
        },
        [&](int c) {
            float sum = 0;
            for (int t = 0; t < count; ++t) {
                sum += weights[t] * source[t * stride + c];
            }
            to[c] = sum;
        });
}

void combineRows(const float* source, std::ptrdiff_t sourceStride, const int* start, int base,
                 const float* weights, int taps, int rows, int columns, float* out,
                 std::ptrdiff_t outStride) {
    for (int r = 0; r < rows; ++r) {
        const float* in = source + (start[r] - base) * sourceStride;
        const float* w = weights + std::ptrdiff_t(r) * taps;
        float* to = out + r * outStride;
        switch (taps) {
        case 4:
            combineRow<4>(in, sourceStride, w, taps, columns, to);
            break;
        case 5:
            combineRow<5>(in, sourceStride, w, taps, columns, to);
            break;
        default:
            combineRow<0>(in, sourceStride, w, taps, columns, to);
        }
    }
}

/// Four by four at a time.
HWY_INLINE void transpose4(const float* source, std::ptrdiff_t sourceStride, float* out,
                           std::ptrdiff_t outStride) {
#if HWY_TARGET == HWY_SCALAR
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            out[c * outStride + r] = source[r * sourceStride + c];
        }
    }
#else
    const hn::FixedTag<float, 4> f;
    const hn::FixedTag<double, 2> d;
    const auto r0 = hn::LoadU(f, source);
    const auto r1 = hn::LoadU(f, source + sourceStride);
    const auto r2 = hn::LoadU(f, source + 2 * sourceStride);
    const auto r3 = hn::LoadU(f, source + 3 * sourceStride);
    const auto a = hn::BitCast(d, hn::InterleaveLower(f, r0, r1)); // 00 10 01 11
    const auto b = hn::BitCast(d, hn::InterleaveLower(f, r2, r3)); // 20 30 21 31
    const auto e = hn::BitCast(d, hn::InterleaveUpper(f, r0, r1));
    const auto g = hn::BitCast(d, hn::InterleaveUpper(f, r2, r3));
    hn::StoreU(hn::BitCast(f, hn::InterleaveLower(d, a, b)), f, out);
    hn::StoreU(hn::BitCast(f, hn::InterleaveUpper(d, a, b)), f, out + outStride);
    hn::StoreU(hn::BitCast(f, hn::InterleaveLower(d, e, g)), f, out + 2 * outStride);
    hn::StoreU(hn::BitCast(f, hn::InterleaveUpper(d, e, g)), f, out + 3 * outStride);
#endif
}

void transpose(const float* source, std::ptrdiff_t sourceStride, int rows, int columns, float* out,
               std::ptrdiff_t outStride) {
    if (rows < 4 || columns < 4) {
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c < columns; ++c) {
                out[c * outStride + r] = source[r * sourceStride + c];
            }
        }
        return;
    }
    for (int row = 0; row < rows; row += 4) {
        const int r = row + 4 <= rows ? row : rows - 4;
        for (int column = 0; column < columns; column += 4) {
            const int c = column + 4 <= columns ? column : columns - 4;
            transpose4(source + r * sourceStride + c, sourceStride, out + c * outStride + r, outStride);
        }
    }
}

void narrow(const float* source, int columns, std::uint8_t* out) {
    const F f;
    const I i;
    const U8 u8;
    const auto half = hn::Set(f, 0.5F);
    const auto most = hn::Set(f, 255.0F);
    forColumns(
        columns,
        [&](int c) {
            const auto value = hn::Add(hn::LoadU(f, source + c), half);
            const auto held = hn::Min(hn::Max(value, hn::Zero(f)), most);
            hn::StoreU(hn::DemoteTo(u8, hn::ConvertTo(i, held)), u8, out + c);
        },
        [&](int c) {
            const float value = source[c] + 0.5F;
            out[c] = std::uint8_t(value < 0 ? 0.0F : value > 255 ? 255.0F : value);
        });
}

void blendCover(float* acc, const float* color, const float* cover, int columns) {
    const F f;
    const int lanes = int(hn::Lanes(f));
    int c = 0;
    for (; c + lanes <= columns; c += lanes) {
        const auto below = hn::LoadU(f, acc + c);
        const auto difference = hn::Sub(hn::LoadU(f, color + c), below);
        hn::StoreU(hn::MulAdd(difference, hn::LoadU(f, cover + c), below), f, acc + c);
    }
    for (; c < columns; ++c) {
        acc[c] += (color[c] - acc[c]) * cover[c];
    }
}

void blendAlpha(float* acc, const float* color, const float* alpha, const float* cover, int columns) {
    const F f;
    const int lanes = int(hn::Lanes(f));
    int c = 0;
    for (; c + lanes <= columns; c += lanes) {
        const auto seen = hn::LoadU(f, cover + c);
        const auto kept = hn::NegMulAdd(hn::LoadU(f, alpha + c), seen, hn::Set(f, 1.0F));
        const auto below = hn::Mul(hn::LoadU(f, acc + c), kept);
        hn::StoreU(hn::MulAdd(hn::LoadU(f, color + c), seen, below), f, acc + c);
    }
    for (; c < columns; ++c) {
        acc[c] = color[c] * cover[c] + acc[c] * (1 - alpha[c] * cover[c]);
    }
}

void radialRamp(const float* x, float cx, float dy, float radius0, float slope, int columns, float* out) {
    const F f;
    const auto one = hn::Set(f, 1.0F);
    forColumns(
        columns,
        [&](int c) {
            const auto dx = hn::Sub(hn::LoadU(f, x + c), hn::Set(f, cx));
            const auto distance = hn::Sqrt(hn::MulAdd(dx, dx, hn::Set(f, dy * dy)));
            const auto t = hn::Mul(hn::Sub(distance, hn::Set(f, radius0)), hn::Set(f, slope));
            hn::StoreU(hn::Min(hn::Max(t, hn::Zero(f)), one), f, out + c);
        },
        [&](int c) {
            const float dx = x[c] - cx;
            const float t = (__builtin_sqrtf(dx * dx + dy * dy) - radius0) * slope;
            out[c] = t < 0 ? 0 : t > 1 ? 1 : t;
        });
}

void ramp(const float* t, float a, float b, int columns, float* out) {
    const F f;
    forColumns(
        columns,
        [&](int c) {
            hn::StoreU(hn::MulAdd(hn::Set(f, b - a), hn::LoadU(f, t + c), hn::Set(f, a)), f, out + c);
        },
        [&](int c) { out[c] = a + (b - a) * t[c]; });
}

#include "TavrinKit/Imaging/KernelTable.inc"

const Kernels* table() {
    return &kernels;
}

} // namespace
} // namespace tavrin::imaging::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrin::imaging {

HWY_EXPORT(table);

const Kernels& vectorKernels() {
    static const Kernels* const chosen = HWY_DYNAMIC_DISPATCH(table)();
    return *chosen;
}

} // namespace tavrin::imaging
#endif
