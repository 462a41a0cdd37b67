#include <algorithm>
#include <array>
#include <string>

#include <gtest/gtest.h>

#include "TavrinKit/Media/StillImageReader.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

/// 32 × 16, red on the left and blue on the right; stored so that it must be turned clockwise by a quarter.
constexpr std::string_view turnedJPEG =
    "/9j/4QAiRXhpZgAATU0AKgAAAAgAAQESAAMAAAABAAYAAAAAAAD/4AAQSkZJRgABAgAAAQABAAD/2wBDAAgKCgsKCw0NDQ0NDRAPEBAQ"
    "EBAQEBAQEBASEhIVFRUSEhIQEBISFBQVFRcXFxUVFRUXFxkZGR4eHBwjIyQrKzP/xABNAAEBAAAAAAAAAAAAAAAAAAAABgEBAQEAAAAA"
    "AAAAAAAAAAAACAYHEAEAAAAAAAAAAAAAAAAAAAAAEQEAAAAAAAAAAAAAAAAAAAAA/8AAEQgAEAAgAwEiAAIRAAMRAP/aAAwDAQACEQMR"
    "AD8AiwEm39IAFWNb/9k=";

enum class Side { left, right, top, bottom };

MediaErrorKind failure(const std::filesystem::path& path, const StillImageLimits& limits = {}) {
    try {
        (void)readStillImage(path, limits);
    } catch (const MediaError& error) {
        return error.kind();
    }
    ADD_FAILURE() << path << " was read";
    return MediaErrorKind::outOfOrder;
}

TEST(StillImageReader, TurnsAPhotographUpright) {
    using enum Side;
    constexpr std::array red{left, right, right, left, top, top, bottom, bottom}; // orientations 1...8
    Bytes bytes;
    ASSERT_TRUE(base64Decode(turnedJPEG, bytes));
    std::string photo(bytes.begin(), bytes.end());
    const std::size_t orientation = photo.find("\x01\x12") + 9;
    ASSERT_EQ(photo.at(orientation), 6);
    const test::TemporaryFolder folder;
    for (std::size_t i = 0; i < red.size(); ++i) {
        SCOPED_TRACE(i + 1);
        photo[orientation] = char(i + 1);
        const PixelBuffer picture = readStillImage(folder.write("photo.png", photo));
        ASSERT_EQ(picture.size(), (i < 4 ? PixelSize{32, 16} : PixelSize{16, 32}));
        const auto isRed = [&](int x, int y) {
            const auto pixel = test::pixel(picture, x, y);
            return pixel[0] > 245 && pixel[2] < 10;
        };
        const int far = std::max(picture.size().width, picture.size().height) - 6;
        EXPECT_EQ(isRed(5, 5), red[i] == left || red[i] == bottom);
        EXPECT_EQ(i < 4 ? isRed(far, 5) : isRed(5, far), red[i] == right || red[i] == top);
    }
}

TEST(StillImageReader, PremultipliesAndShrinks) {
    const test::TemporaryFolder folder;
    const auto path = folder.write("thin", test::pngOf(Image::color({1, 0.5, 0, 0.4}), {60, 40}));
    EXPECT_EQ(test::pixel(readStillImage(path), 30, 20), (std::array{102, 51, 0, 102}));
    const PixelBuffer small = readStillImage(path, {.longerSide = 15});
    EXPECT_EQ(small.size(), (PixelSize{15, 10}));
    EXPECT_EQ(test::pixel(small, 7, 5), (std::array{102, 51, 0, 102}));
}

TEST(StillImageReader, RefusesWhatIsNoPictureOrTooMuch) {
    const test::TemporaryFolder folder;
    const std::string png = test::pngOf(Image::color({0, 1, 0, 1}), {300, 200});
    const auto good = folder.write("good.png", png);
    EXPECT_EQ(failure(folder.write("words.jpg", "no picture at all, but a few words")),
              MediaErrorKind::unreadable);
    EXPECT_EQ(failure(folder.write("list.png", "#EXTM3U\n#EXTINF:1,\ngood.png\n")),
              MediaErrorKind::unreadable);
    EXPECT_EQ(failure(folder.write("header.png", png.substr(0, 40))), MediaErrorKind::decodingFailed);
    EXPECT_EQ(failure(good, {.pixels = 59999}), MediaErrorKind::decodingFailed);
    EXPECT_THROW((void)readStillImage(good, {.fileSize = png.size() - 1}), FileError);
    EXPECT_THROW((void)readStillImage(folder / "gone.png"), FileError);
}

} // namespace
} // namespace tavrin
