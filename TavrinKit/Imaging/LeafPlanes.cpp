#include "TavrinKit/Imaging/LeafPlanes.h"

#include <algorithm>

namespace tavrin::imaging {
namespace {

/// The axes of a full-resolution plane whose top left corner is at (left, top), y upward.
std::pair<PlaneAxis, PlaneAxis> fullAxes(double left, double top, int columns, int rows) {
    return {PlaneAxis{1, -left - 0.5, columns}, PlaneAxis{-1, top - 0.5, rows}};
}

/// Fills converted planes; `at(i)` gives premultiplied r, g, b, a of pixel i in row order.
template <typename Pixel>
LeafPlanes converted(Basis basis, double left, double top, int columns, int rows, const Pixel& at) {
    const std::size_t count = std::size_t(columns) * std::size_t(rows);
    const auto colors = std::size_t(colorCount(basis));
    LeafPlanes planes;
    planes.storage.resize(count * (colors + 1));
    float* data = planes.storage.data();
    for (std::size_t i = 0; i < count; ++i) {
        const std::array<float, 4> p = at(i);
        const Channels c = toBasis(basis, p[0], p[1], p[2], p[3]);
        for (std::size_t k = 0; k < colors; ++k) {
            data[k * count + i] = c[k];
        }
        data[colors * count + i] = p[3];
    }
    const auto [x, y] = fullAxes(left, top, columns, rows);
    for (std::size_t k = 0; k < colors; ++k) {
        planes.color[k] = {nullptr, data + k * count, columns, x, y};
    }
    planes.alpha = SamplePlane{nullptr, data + colors * count, columns, x, y};
    return planes;
}

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
    return converted(basis, 0, rows, columns, rows, [&](std::size_t i) {
        const std::uint8_t* p = buffer.row(0, int(i / std::size_t(columns))) + i % std::size_t(columns) * 4;
        return std::array<float, 4>{float(p[2]), float(p[1]), float(p[0]), float(p[3]) / 255.0F};
    });
}

LeafPlanes planesOfPicture(const FloatPicture& picture, Basis basis) {
    const bool black = picture.red.empty();
    return converted(basis, picture.region.minX(), picture.region.maxY(), picture.columns, picture.rows,
                     [&](std::size_t i) {
                         return black ? std::array<float, 4>{0, 0, 0, picture.alpha[i]}
                                      : std::array<float, 4>{picture.red[i], picture.green[i],
                                                             picture.blue[i], picture.alpha[i]};
                     });
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
