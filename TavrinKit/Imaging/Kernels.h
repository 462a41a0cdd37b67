#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrin::imaging {

/// The inner loops of evaluation, on rows of floats.
///
/// Two sets of them exist: plain code, and the same vectorised for the machine at hand. They agree to the
/// rounding of single precision. Rows need no alignment; nothing beyond `columns` is read or written.
struct Kernels {
    /// out[r][c] = source[r][c]
    void (*widen)(const std::uint8_t* source, std::ptrdiff_t sourceStride, int rows, int columns, float* out,
                  std::ptrdiff_t outStride);

    /// acc[r][c] += weight · source[r][c]
    void (*addBytes)(float* acc, std::ptrdiff_t accStride, const std::uint8_t* source,
                     std::ptrdiff_t sourceStride, int rows, int columns, float weight);

    /// acc[r][c] += weight · source[r][c]
    void (*addFloats)(float* acc, std::ptrdiff_t accStride, const float* source, std::ptrdiff_t sourceStride,
                      int rows, int columns, float weight);

    /// out[r][c] = sum over t of weights[r · taps + t] · source[start[r] - base + t][c]
    void (*combineRows)(const float* source, std::ptrdiff_t sourceStride, const int* start, int base,
                        const float* weights, int taps, int rows, int columns, float* out,
                        std::ptrdiff_t outStride);

    /// out[c][r] = source[r][c]
    void (*transpose)(const float* source, std::ptrdiff_t sourceStride, int rows, int columns, float* out,
                      std::ptrdiff_t outStride);

    /// out[c] = source[c], rounded to the nearest and held to 0...255
    void (*narrow)(const float* source, int columns, std::uint8_t* out);

    /// acc[c] += (color[c] - acc[c]) · cover[c]
    void (*blendCover)(float* acc, const float* color, const float* cover, int columns);

    /// acc[c] = color[c] · cover[c] + acc[c] · (1 - alpha[c] · cover[c]), both premultiplied
    void (*blendAlpha)(float* acc, const float* color, const float* alpha, const float* cover, int columns);

    /// out[c] = clamp((sqrt((x[c] - cx)² + dy²) - radius0) · slope, 0, 1)
    void (*radialRamp)(const float* x, float cx, float dy, float radius0, float slope, int columns,
                       float* out);

    /// out[c] = a + (b - a) · t[c]
    void (*ramp)(const float* t, float a, float b, int columns, float* out);
};

[[nodiscard]] const Kernels& plainKernels();
[[nodiscard]] const Kernels& vectorKernels();

} // namespace tavrin::imaging
