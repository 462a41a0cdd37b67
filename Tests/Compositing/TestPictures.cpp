#include "TestPictures.h"

#include <algorithm>

#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Imaging/PNG.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Support/Files.h"

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

void writePicture(const std::filesystem::path& path, const Color& color, PixelSize size) {
    Raster raster(size);
    raster.fillRoundedRectangle({0, 0, double(size.width), double(size.height)}, 0, color);
    writeFileAtomically(path, encodePNG(raster.pixels()));
}

PixelBuffer rendered(const Image& image, const Rect& rect) {
    return ImageRenderer(ImageRenderer::Options{.threads = 1}).render(image, rect);
}

std::array<int, 4> pixel(const PixelBuffer& picture, int x, int yUpward) {
    const std::uint8_t* p = picture.row(0, picture.size().height - 1 - yUpward) + std::ptrdiff_t(x) * 4;
    return {p[2], p[1], p[0], p[3]};
}

bool areEqual(const PixelBuffer& a, const PixelBuffer& b) {
    bool equal = a.size() == b.size();
    for (int y = 0; equal && y < a.size().height; ++y) {
        equal = std::equal(a.row(0, y), a.row(0, y) + std::ptrdiff_t(a.size().width) * 4, b.row(0, y));
    }
    return equal;
}

} // namespace tavrin::test
