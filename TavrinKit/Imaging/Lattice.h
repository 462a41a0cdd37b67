#pragma once

#include <array>

#include "TavrinKit/Imaging/Image.h"

namespace tavrin::imaging {

/// In which channels pictures are evaluated.
///
/// All operations but a few are linear in each channel, so a picture that is to become Y'CbCr can be drawn as
/// such: luma on the full lattice, chroma on the halved one, and never as RGB.
enum class Basis {
    rgba,   ///< three colours 0...255, premultiplied, and alpha 0...1
    luma,   ///< Y' of BT.709 limited range, 16...235 times alpha
    chroma, ///< Cb and Cr, 16...240 times alpha
};

[[nodiscard]] constexpr int colorCount(Basis basis) {
    return basis == Basis::rgba ? 3 : basis == Basis::luma ? 1 : 2;
}

using Channels = std::array<float, 3>;

/// A premultiplied colour, 0...255 with alpha 0...1, in another basis.
[[nodiscard]] inline Channels toBasis(Basis basis, double r, double g, double b, double a) {
    const double y = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    switch (basis) {
    case Basis::rgba:
        return {float(r), float(g), float(b)};
    case Basis::luma:
        return {float(16 * a + y * (219.0 / 255)), 0, 0};
    case Basis::chroma:
        return {float(128 * a + (b - y) / 1.8556 * (224.0 / 255)),
                float(128 * a + (r - y) / 1.5748 * (224.0 / 255)), 0};
    }
    return {};
}

/// A straight colour, premultiplied.
[[nodiscard]] inline Channels toBasis(Basis basis, const Color& c) {
    return toBasis(basis, c.r * c.a * 255, c.g * c.a * 255, c.b * c.a * 255, c.a);
}

/// The points of the plane at which a picture is evaluated.
struct Lattice {
    double x0 = 0;   ///< of column 0
    double y0 = 0;   ///< of row 0, y upward
    double step = 1; ///< columns go right, rows go down
    int columns = 0;
    int rows = 0;
    Rect picture; ///< what all samples together show; a sample at its edge shows only the part inside

    [[nodiscard]] double x(int column) const { return x0 + step * column; }
    [[nodiscard]] double y(int row) const { return y0 - step * row; }

    /// The pixels of a picture whose lower left corner is `origin`.
    [[nodiscard]] static Lattice full(Vec2 origin, PixelSize size) {
        return {origin.x + 0.5, origin.y + size.height - 0.5, 1, size.width,
                size.height,    rectOf(origin, size)};
    }
    /// Its chroma samples: on every other column, between every other pair of rows.
    [[nodiscard]] static Lattice chroma(Vec2 origin, PixelSize size) {
        return {origin.x + 0.5,       origin.y + size.height - 1, 2,
                (size.width + 1) / 2, (size.height + 1) / 2,      rectOf(origin, size)};
    }

private:
    [[nodiscard]] static Rect rectOf(Vec2 origin, PixelSize size) {
        return {origin.x, origin.y, double(size.width), double(size.height)};
    }
};

/// A block of a lattice: columns and rows, the end excluded.
struct Block {
    int column0 = 0;
    int row0 = 0;
    int column1 = 0;
    int row1 = 0;

    [[nodiscard]] int columns() const { return column1 - column0; }
    [[nodiscard]] int rows() const { return row1 - row0; }
    [[nodiscard]] bool isEmpty() const { return column1 <= column0 || row1 <= row0; }
};

} // namespace tavrin::imaging
