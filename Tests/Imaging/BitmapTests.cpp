#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Imaging/PNG.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Imaging/Text.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Rows downward.
int alphaAt(const PixelBuffer& picture, int x, int row) {
    return picture.row(0, row)[x * 4 + 3];
}

PixelBuffer halfRed() {
    Raster raster({17, 9});
    raster.fillRoundedRectangle({2, 1, 12, 6}, 3, {1, 0, 0, 0.5});
    return raster.pixels();
}

TEST(Raster, OriginIsAtTheChosenCorner) {
    for (const auto axis : {Raster::YAxis::up, Raster::YAxis::down}) {
        Raster raster({8, 6}, axis);
        VectorPath path;
        path.addRectangle({1, 0, 2, 2});
        raster.fill(path, {1, 0.5, 0, 0.5});
        const bool isUp = axis == Raster::YAxis::up;
        const PixelBuffer picture = raster.pixels();
        const std::uint8_t* p = picture.row(0, isUp ? 5 : 0) + 4;
        EXPECT_EQ((std::array{p[0], p[1], p[2], p[3]}), (std::array<std::uint8_t, 4>{0, 64, 128, 128}));
        EXPECT_EQ(alphaAt(picture, 1, isUp ? 0 : 5), 0);
        EXPECT_EQ(raster.image().extent(), (Rect{0, 0, 8, 6}));
    }
    EXPECT_THROW(Raster({0, 5}), std::invalid_argument);
    EXPECT_THROW(Raster({5, 20000}), std::invalid_argument);
}

TEST(PNG, ComesBackAsItWasOrNotAtAll) {
    const std::string png = encodePNG(halfRed());
    const auto decoded = decodePNG(bytesOf(png));
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(testing::sameBytes(halfRed(), *decoded));
    for (std::size_t length = 0; length + 12 < png.size(); ++length) {
        EXPECT_FALSE(decodePNG(bytesOf(png).first(length))) << length;
    }
    for (std::size_t at = 0; at + 12 < png.size(); at += 3) {
        std::string damaged = png;
        damaged[at] = char(damaged[at] ^ 0x55);
        (void)decodePNG(bytesOf(damaged)); // whatever it gives, it comes back
    }
    EXPECT_TRUE(decodePNG(bytesOf(png), 17 * 9));
    EXPECT_FALSE(decodePNG(bytesOf(png), 17 * 9 - 1));
    EXPECT_THROW((void)encodePNG(PixelBuffer()), std::invalid_argument);
    EXPECT_THROW((void)encodePNG(PixelBuffer::allocate(PixelFormat::i420, {4, 4})), std::invalid_argument);
}

TEST(TextLine, StandsUprightOnItsBaseline) {
    const TextLine line("Tipp", {30, FontWeight::semibold});
    Raster up({120, 60}, Raster::YAxis::up);
    line.draw(up, {10, 20}, {1, 1, 1, 1});
    Raster down({120, 60}, Raster::YAxis::down);
    line.draw(down, {10, 40}, {1, 1, 1, 1});
    EXPECT_TRUE(testing::sameBytes(up.pixels(), down.pixels()));

    const PixelBuffer picture = up.pixels();
    const auto ink = [&](int firstRow, int lastRow, int left, int right) {
        int sum = 0;
        for (int row = firstRow; row < lastRow; ++row) {
            for (int x = left; x < right; ++x) {
                sum += alphaAt(picture, x, row);
            }
        }
        return sum / 255;
    };
    EXPECT_GT(ink(16, 40, 10, 26), 50) << "the T stands on the baseline";
    EXPECT_EQ(ink(41, 60, 10, 26), 0);
    EXPECT_GT(ink(41, 50, 30, 110), 10) << "the p goes below it";
    EXPECT_EQ(ink(0, 60, int(10 + line.width()) + 2, 120), 0);
}

/// The ink of a block drawn into the middle of a larger raster: the rectangle of all pixels with alpha.
struct Ink {
    int left = 1000, right = -1, top = 1000, bottom = -1;
    bool hasColor = false;
};

Ink inkOf(const std::string& text, TextAlignment alignment, const Rect& column) {
    Raster raster({240, 120});
    TextBlock(text, {20}, column.width, alignment).draw(raster, column, {1, 1, 1, 1});
    const PixelBuffer picture = raster.pixels();
    Ink ink;
    for (int y = 0; y < 120; ++y) {
        for (int x = 0; x < 240; ++x) {
            const std::uint8_t* p = picture.row(0, y) + std::ptrdiff_t(x) * 4;
            if (p[3] > 60) {
                ink = {std::min(ink.left, x), std::max(ink.right, x), std::min(ink.top, y),
                       std::max(ink.bottom, y), ink.hasColor || std::abs(p[2] - p[0]) > 60};
            }
        }
    }
    return ink;
}

TEST(TextBlock, BreaksLinesAndKeepsToItsColumn) {
    const Rect column{40, 20, 160, 80};
    for (const char* text : {"HHHH", "\xd7\x97\xd7\x97\xd7\x97\xd7\x97"}) { // Hebrew keeps to the side too
        const Ink left = inkOf(text, TextAlignment::left, column);
        const Ink middle = inkOf(text, TextAlignment::center, column);
        const Ink right = inkOf(text, TextAlignment::right, column);
        EXPECT_NEAR(left.left, 41, 2);
        EXPECT_NEAR(right.right, 198, 2);
        EXPECT_NEAR(middle.left + middle.right, 239, 3);
        EXPECT_GT(left.top, 20) << "from the top down";
        EXPECT_LT(left.bottom, 45);
    }
    const Ink many = inkOf(std::string(900, 'g'), TextAlignment::left, column);
    EXPECT_LT(many.bottom, 100) << "whole lines only";
    EXPECT_GE(many.left, 40);
    EXPECT_LT(many.right, 200);
    EXPECT_GT(inkOf("H", TextAlignment::left, {40, 20, 160, 12}).right, 0) << "but the first line always";
    EXPECT_TRUE(inkOf("\xf0\x9f\x8e\x89", TextAlignment::left, column).hasColor) << "emoji come in colour";
    EXPECT_EQ(inkOf("", TextAlignment::left, column).right, -1);
    EXPECT_EQ(inkOf("H", TextAlignment::left, {40, 20, 160, std::nan("")}).right, -1);
}

} // namespace
} // namespace tavrin
