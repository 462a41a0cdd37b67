#include "SampleScreen.h"

#include <cstdlib>

#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Imaging/PNG.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Imaging/Text.h"
#include "TavrinKit/Project/CursorGlyph.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin::test {
namespace {

Color grey(int level) {
    return {level / 255.0, level / 255.0, level / 255.0, 1};
}

class ScreenPainter {
public:
    ScreenPainter(PixelSize size) : raster_(size, Raster::YAxis::down), k_(size.width / 1280.0) {}

    void box(Rect r, double radius, const Color& color) {
        raster_.fillRoundedRectangle({r.x * k_, r.y * k_, r.width * k_, r.height * k_}, radius * k_, color);
    }
    void text(const std::string& words, Vec2 at, double size, const Color& color,
              FontWeight weight = FontWeight::regular) {
        TextLine(words, {size * k_, weight}).draw(raster_, at * k_, color);
    }
    [[nodiscard]] Image image() const { return raster_.image(); }

private:
    Raster raster_;
    double k_;
};

void paintSidebar(ScreenPainter& painter) {
    painter.box({0, 40, 250, 680}, 0, {0.93, 0.94, 0.96, 1});
    const std::array<const char*, 7> entries{"Inbox",   "Drafts",  "Sent", "Projects",
                                             "Reviews", "Archive", "Trash"};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const double y = 70 + 44 * double(i);
        if (i == 3) {
            painter.box({12, y - 8, 226, 36}, 8, {0.2, 0.45, 0.95, 1});
        }
        painter.text(entries[i], {30, y + 16}, 16, i == 3 ? grey(255) : grey(60), FontWeight::medium);
    }
}

void paintDocument(ScreenPainter& painter) {
    painter.text("Quarterly planning", {290, 100}, 30, grey(20), FontWeight::bold);
    for (int i = 0; i < 9; ++i) {
        const double y = 140 + 52 * i;
        painter.box({290, y, 950, 42}, 6, i % 2 == 0 ? grey(246) : grey(252));
        painter.box({304, y + 12, 18, 18}, 4, {0.85, 0.5 + 0.05 * i, 0.25, 1});
        painter.text("Review the capture settings with the design team", {336, y + 27}, 15, grey(40));
        painter.text("Nov 2" + std::to_string(i % 10), {1160, y + 27}, 13, grey(140));
    }
    painter.box({290, 640, 150, 44}, 10, {0.2, 0.45, 0.95, 1});
    painter.text("New project", {318, 668}, 16, grey(255), FontWeight::semibold);
}

} // namespace

Image sampleScreen(PixelSize size) {
    ScreenPainter painter(size);
    painter.box({0, 0, 1280, 720}, 0, grey(255));
    painter.box({0, 0, 1280, 40}, 0, {0.16, 0.18, 0.22, 1});
    for (int i = 0; i < 3; ++i) {
        painter.box({16.0 + 22 * i, 13, 14, 14}, 7, {i == 0 ? 0.95 : 0.9 - 0.3 * i, 0.35 + 0.25 * i, 0.3, 1});
    }
    painter.text("Workspace", {600, 26}, 15, grey(225), FontWeight::medium);
    paintSidebar(painter);
    paintDocument(painter);
    return painter.image();
}

CursorAppearance sampleAppearance() {
    Raster raster({24, 36}, Raster::YAxis::down);
    const VectorPath& arrow = CursorGlyph::path(CursorGlyphKind::arrow);
    raster.stroke(arrow, 3, {1, 1, 1, 1}, AffineTransform::translation(2, 2));
    raster.fill(arrow, {0, 0, 0, 1}, AffineTransform::translation(2, 2));
    const std::string png = encodePNG(raster.pixels());
    return CursorAppearance("sample", Bytes(png.begin(), png.end()), {2, 34}, {24, 36});
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

PixelBuffer rendered(const Image& image, const Rect& rect) {
    return ImageRenderer(ImageRenderer::Options{.threads = 1}).render(image, rect);
}

std::array<int, 4> pixel(const PixelBuffer& picture, int x, int yUpward) {
    const std::uint8_t* p = picture.row(0, picture.size().height - 1 - yUpward) + std::ptrdiff_t(x) * 4;
    return {p[2], p[1], p[0], p[3]};
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
