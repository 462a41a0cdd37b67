#include <algorithm>
#include <cmath>

#include "TavrinKit/Imaging/Kernels.h"

namespace tavrin::imaging {
namespace {

void widen(const std::uint8_t* source, std::ptrdiff_t sourceStride, int rows, int columns, float* out,
           std::ptrdiff_t outStride) {
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            out[r * outStride + c] = float(source[r * sourceStride + c]);
        }
    }
}

template <typename Sample>
void addWeighted(float* acc, std::ptrdiff_t accStride, const Sample* source, std::ptrdiff_t sourceStride,
                 int rows, int columns, float weight) {
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            acc[r * accStride + c] += weight * float(source[r * sourceStride + c]);
        }
    }
}

void combineRows(const float* source, std::ptrdiff_t sourceStride, const int* start, int base,
                 const float* weights, int taps, int rows, int columns, float* out,
                 std::ptrdiff_t outStride) {
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            float sum = 0;
            for (int t = 0; t < taps; ++t) {
                sum += weights[r * taps + t] * source[(start[r] - base + t) * sourceStride + c];
            }
            out[r * outStride + c] = sum;
        }
    }
}

void transpose(const float* source, std::ptrdiff_t sourceStride, int rows, int columns, float* out,
               std::ptrdiff_t outStride) {
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            out[c * outStride + r] = source[r * sourceStride + c];
        }
    }
}

void narrow(const float* source, int columns, std::uint8_t* out) {
    for (int c = 0; c < columns; ++c) {
        out[c] = std::uint8_t(std::clamp(source[c] + 0.5F, 0.0F, 255.0F));
    }
}

void blendCover(float* acc, const float* color, const float* cover, int columns) {
    for (int c = 0; c < columns; ++c) {
        acc[c] += (color[c] - acc[c]) * cover[c];
    }
}

void blendAlpha(float* acc, const float* color, const float* alpha, const float* cover, int columns) {
    for (int c = 0; c < columns; ++c) {
        acc[c] = color[c] * cover[c] + acc[c] * (1 - alpha[c] * cover[c]);
    }
}

void radialRamp(const float* x, float cx, float dy, float radius0, float slope, int columns, float* out) {
    for (int c = 0; c < columns; ++c) {
        const float dx = x[c] - cx;
        out[c] = std::clamp((std::sqrt(dx * dx + dy * dy) - radius0) * slope, 0.0F, 1.0F);
    }
}

void ramp(const float* t, float a, float b, int columns, float* out) {
    for (int c = 0; c < columns; ++c) {
        out[c] = a + (b - a) * t[c];
    }
}

#include "TavrinKit/Imaging/KernelTable.inc"

} // namespace

const Kernels& plainKernels() {
    return kernels;
}

} // namespace tavrin::imaging
