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
    const test::TemporaryFolder folder;
    Bytes bytes;
    ASSERT_TRUE(base64Decode(turnedJPEG, bytes));
    const auto path = folder.write("photo.png", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    const PixelBuffer picture = readStillImage(path);
    ASSERT_EQ(picture.size(), (PixelSize{16, 32}));
    const auto top = test::pixel(picture, 8, 26);
    const auto foot = test::pixel(picture, 8, 5);
    EXPECT_GT(top[0], 245);
    EXPECT_LT(top[2], 10);
    EXPECT_GT(foot[2], 245);
    EXPECT_LT(foot[0], 10);
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
    EXPECT_EQ(failure(folder.write("empty.png", "")), MediaErrorKind::unreadable);
    EXPECT_EQ(failure(folder.write("words.jpg", "no picture at all, but a few words")),
              MediaErrorKind::unreadable);
    EXPECT_EQ(failure(folder.write("list.png", "#EXTM3U\n#EXTINF:1,\ngood.png\n")),
              MediaErrorKind::unreadable);
    EXPECT_EQ(failure(folder.write("concat.png", "ffconcat version 1.0\nfile good.png\n")),
              MediaErrorKind::unreadable);
    EXPECT_EQ(failure(folder.write("header.png", png.substr(0, 40))), MediaErrorKind::decodingFailed);
    EXPECT_EQ(failure(good, {.pixels = 59999}), MediaErrorKind::decodingFailed);
    EXPECT_THROW((void)readStillImage(good, {.fileSize = png.size() - 1}), FileError);
    EXPECT_THROW((void)readStillImage(folder / "gone.png"), FileError);
}

} // namespace
} // namespace tavrin
