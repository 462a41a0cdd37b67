#include "TestPictures.h"

#include <cmath>

#include "Imaging/TestPictures.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Imaging/PNG.h"

namespace tavrin::test {

Image placeColouredPicture(PixelSize size) {
    const PixelBuffer picture = PixelBuffer::allocate(PixelFormat::bgra8, size);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            std::uint8_t* p = picture.row(0, size.height - 1 - y) + std::ptrdiff_t(x) * 4;
            p[0] = 128;
            p[1] = std::uint8_t(255 * y / (size.height - 1));
            p[2] = std::uint8_t(255 * x / (size.width - 1));
            p[3] = 255;
        }
    }
    return Image::pixels(picture);
}

std::string pngOf(const Image& image, PixelSize size) {
    return encodePNG(rendered(image, {0, 0, double(size.width), double(size.height)}));
}

PixelBuffer rendered(const Image& image, const Rect& rect) {
    return ImageRenderer(ImageRenderer::Options{.threads = 1}).render(image, rect);
}

std::array<int, 4> pixel(const PixelBuffer& picture, int x, int yUpward) {
    const std::uint8_t* p = picture.row(0, picture.size().height - 1 - yUpward) + std::ptrdiff_t(x) * 4;
    return {p[2], p[1], p[0], p[3]};
}

std::array<int, 4> pixel(const Image& image, double x, double yUpward) {
    return pixel(rendered(image, {std::floor(x), std::floor(yUpward), 1, 1}), 0, 0);
}

bool areEqual(const PixelBuffer& a, const PixelBuffer& b) {
    return testing::sameBytes(a, b);
}

} // namespace tavrin::test
