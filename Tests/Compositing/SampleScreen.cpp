#include "SampleScreen.h"

#include <algorithm>
#include <cstdlib>

#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Imaging/PNG.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Imaging/Text.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin::test {
namespace {

Color grey(int level) {
    return {level / 255.0, level / 255.0, level / 255.0, 1};
}

void write(Raster& raster, const std::string& words, Vec2 at, double size, int level, FontWeight weight) {
    TextLine(words, {size, weight}).draw(raster, at, grey(level));
}

} // namespace

Image sampleScreen() {
    Raster raster({1280, 720}, Raster::YAxis::down);
    raster.fillRoundedRectangle({0, 0, 1280, 720}, 0, grey(255));
    raster.fillRoundedRectangle({0, 0, 1280, 40}, 0, {0.16, 0.18, 0.22, 1});
    write(raster, "Workspace", {600, 26}, 15, 225, FontWeight::medium);
    raster.fillRoundedRectangle({0, 40, 250, 680}, 0, {0.93, 0.94, 0.96, 1});
    write(raster, "Quarterly planning", {290, 100}, 30, 20, FontWeight::bold);
    for (int i = 0; i < 9; ++i) {
        const double y = 140 + 52 * i;
        raster.fillRoundedRectangle({290, y, 950, 42}, 6, grey(i % 2 == 0 ? 246 : 252));
        raster.fillRoundedRectangle({304, y + 12, 18, 18}, 4, {0.85, 0.5 + 0.05 * i, 0.25, 1});
        write(raster, "Review the capture settings with the team", {336, y + 27}, 15, 40,
              FontWeight::regular);
        write(raster, "Folder " + std::to_string(i + 1), {30, y + 27}, 16, 60, FontWeight::medium);
    }
    raster.fillRoundedRectangle({290, 640, 150, 44}, 10, {0.2, 0.45, 0.95, 1});
    write(raster, "New project", {318, 668}, 16, 255, FontWeight::semibold);
    return raster.image();
}

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

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() / ("tavrin-compositing-" + UUID::make().string())) {
    createDirectories(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TemporaryFolder::write(const std::string& name, std::string_view contents) const {
    writeFileAtomically(path_ / name, contents);
    return path_ / name;
}

void leavePicture(const std::string& name, const PixelBuffer& picture) {
    if (const char* folder = std::getenv("TAVRIN_TEST_PICTURES")) {
        createDirectories(folder);
        writeFileAtomically(std::filesystem::path(folder) / (name + ".png"), encodePNG(picture));
    }
}

} // namespace tavrin::test
