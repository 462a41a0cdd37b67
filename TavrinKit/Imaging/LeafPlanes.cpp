#include "TavrinKit/Imaging/LeafPlanes.h"

#include <algorithm>
#include <utility>

namespace tavrin::imaging {
namespace {

/// The axes of a full-resolution plane whose top left corner is at (left, top), y upward.
std::pair<PlaneAxis, PlaneAxis> fullAxes(double left, double top, int columns, int rows) {
    return {PlaneAxis{1, -left - 0.5, columns}, PlaneAxis{-1, top - 0.5, rows}};
}

/// Premultiplied pixels side by side, as `FloatPicture` counts them.
struct PixelRun {
    const float* red;
    const float* green;
    const float* blue;
    const float* alpha;
    std::size_t count;
};

/// `toBasis` for all pixels of a run, a channel at a time so that it vectorises.
/// @param out  the colour channels of the basis
void convert(Basis basis, const PixelRun& run, std::array<float*, 3> out) {
    const auto channel = [&](float* to, float white, float red, float green, float blue) {
        for (std::size_t i = 0; i < run.count; ++i) {
            to[i] = white * run.alpha[i] + (red * run.red[i] + green * run.green[i] + blue * run.blue[i]);
        }
    };
    constexpr double toLuma = 219.0 / 255;
    constexpr double toCb = 224.0 / 255 / 1.8556;
    constexpr double toCr = 224.0 / 255 / 1.5748;
    switch (basis) {
    case Basis::rgba:
        std::copy_n(run.red, run.count, out[0]);
        std::copy_n(run.green, run.count, out[1]);
        std::copy_n(run.blue, run.count, out[2]);
        break;
    case Basis::luma:
        channel(out[0], 16, float(0.2126 * toLuma), float(0.7152 * toLuma), float(0.0722 * toLuma));
        break;
    case Basis::chroma:
        channel(out[0], 128, float(-0.2126 * toCb), float(-0.7152 * toCb), float((1 - 0.0722) * toCb));
        channel(out[1], 128, float((1 - 0.2126) * toCr), float(-0.7152 * toCr), float(-0.0722 * toCr));
        break;
    }
}

/// Planes to be filled, alpha behind the colours, and where each of them begins.
struct BlankPlanes {
    BlankPlanes(Basis basis, double left, double top, int columns, int rows) {
        const std::size_t count = std::size_t(columns) * std::size_t(rows);
        const auto colors = std::size_t(colorCount(basis));
        planes.storage.resize(count * (colors + 1));
        const auto [x, y] = fullAxes(left, top, columns, rows);
        for (std::size_t k = 0; k < colors; ++k) {
            color[k] = planes.storage.data() + k * count;
            planes.color[k] = {nullptr, color[k], columns, x, y};
        }
        alpha = planes.storage.data() + colors * count;
        planes.alpha = SamplePlane{nullptr, alpha, columns, x, y};
    }

    [[nodiscard]] std::array<float*, 3> colorsFrom(std::size_t pixel) const {
        std::array<float*, 3> result{};
        for (std::size_t k = 0; k < 3; ++k) {
            result[k] = color[k] == nullptr ? nullptr : color[k] + pixel;
        }
        return result;
    }

    LeafPlanes planes;
    std::array<float*, 3> color{};
    float* alpha = nullptr;
};

} // namespace

LeafPlanes planesOf420(const PixelBuffer& buffer, Basis basis) {
    const double height = buffer.size().height;
    const auto plane = [&](int index) {
        const PixelBuffer::Plane& p = buffer.plane(index);
        SamplePlane samples{p.data, nullptr, p.stride, {}, {}};
        if (index == 0) {
            std::tie(samples.x, samples.y) = fullAxes(0, height, p.width, p.height);
        } else { // on every other column, between every other pair of rows
            samples.x = {0.5, -0.25, p.width};
            samples.y = {-0.5, height / 2 - 0.5, p.height};
        }
        return samples;
    };
    LeafPlanes planes;
    planes.buffer = buffer;
    switch (basis) {
    case Basis::luma:
        planes.color[0] = plane(0);
        break;
    case Basis::chroma:
        planes.color[0] = plane(1);
        planes.color[1] = plane(2);
        break;
    case Basis::rgba:
        planes.color = {plane(0), plane(1), plane(2)};
        planes.isYCbCr = true;
        break;
    }
    return planes;
}

LeafPlanes planesOfBitmap(const PixelBuffer& buffer, Basis basis) {
    const int columns = buffer.size().width;
    const int rows = buffer.size().height;
    BlankPlanes blank(basis, 0, rows, columns, rows);
    const auto width = std::size_t(columns);
    std::vector<float> colors(width * 3);
    float* const red = colors.data();
    float* const green = red + width;
    float* const blue = green + width;
    for (int row = 0; row < rows; ++row) {
        const std::size_t first = std::size_t(row) * width;
        float* const alpha = blank.alpha + first;
        const std::uint8_t* p = buffer.row(0, row);
        for (std::size_t i = 0; i < width; ++i, p += 4) {
            blue[i] = float(p[0]);
            green[i] = float(p[1]);
            red[i] = float(p[2]);
            alpha[i] = float(p[3]) / 255.0F;
        }
        convert(basis, {red, green, blue, alpha, width}, blank.colorsFrom(first));
    }
    return std::move(blank.planes);
}

LeafPlanes planesOfPicture(const FloatPicture& picture, Basis basis) {
    BlankPlanes blank(basis, picture.region.minX(), picture.region.maxY(), picture.columns, picture.rows);
    std::copy(picture.alpha.begin(), picture.alpha.end(), blank.alpha);
    if (picture.red.empty()) {
        const Channels black = toBasis(basis, 0, 0, 0, 1); // times alpha, which is all that changes it
        for (std::size_t k = 0; k < std::size_t(colorCount(basis)); ++k) {
            std::transform(picture.alpha.begin(), picture.alpha.end(), blank.color[k],
                           [value = black[k]](float alpha) { return value * alpha; });
        }
    } else {
        convert(basis,
                {picture.red.data(), picture.green.data(), picture.blue.data(), picture.alpha.data(),
                 picture.alpha.size()},
                blank.colorsFrom(0));
    }
    return std::move(blank.planes);
}

void toRGB(float* y, float* cb, float* cr, int columns) {
    for (int c = 0; c < columns; ++c) {
        const float luma = (y[c] - 16) * (255.0F / 219);
        const float u = (cb[c] - 128) * (255.0F / 224);
        const float v = (cr[c] - 128) * (255.0F / 224);
        const float red = luma + 1.5748F * v;
        const float green = luma - 0.187324F * u - 0.468124F * v;
        const float blue = luma + 1.8556F * u;
        y[c] = std::clamp(red, 0.0F, 255.0F);
        cb[c] = std::clamp(green, 0.0F, 255.0F);
        cr[c] = std::clamp(blue, 0.0F, 255.0F);
    }
}

} // namespace tavrin::imaging
