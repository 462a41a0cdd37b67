#include <cmath>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/BackgroundAssetRenderer.h"
#include "TavrinKit/Compositing/FramingLayer.h"
#include "TavrinKit/Compositing/HexColor.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

const Rect frame{0, 0, 180, 120};

Image white() {
    return Image::color({1, 1, 1, 1}).cropped(frame);
}

PixelBuffer framed(const FramingStyle& style) {
    return test::rendered(FramingLayer(style, {}).applyFraming(white()), frame);
}

FramingStyle onGrey(double padding, ShadowStyle shadow) {
    return {.padding = padding,
            .cornerRadius = 10,
            .shadow = shadow,
            .background = BackgroundStyle::solid("#808080")};
}

PixelBuffer background(const BackgroundStyle& style, const Rect& extent,
                       const std::optional<std::filesystem::path>& root = {}) {
    return test::rendered(BackgroundAssetRenderer::image(style, extent, root), extent);
}

TEST(Framing, WithoutPaddingOnlyTheCornersAreCut) {
    FramingStyle style = onGrey(0, {.opacity = 1, .blurRadius = 20});
    const PixelBuffer picture = framed(style);
    EXPECT_EQ(test::pixel(picture, 0, 0), (std::array{0, 0, 0, 0}));
    EXPECT_EQ(test::pixel(picture, 179, 119), (std::array{0, 0, 0, 0}));
    EXPECT_EQ(test::pixel(picture, 90, 0), (std::array{255, 255, 255, 255}));
    EXPECT_EQ(test::pixel(picture, 0, 60), (std::array{255, 255, 255, 255}));
    EXPECT_EQ(test::pixel(picture, 3, 3)[3], 255) << "inside a radius of 10";
    style.cornerRadius = 0;
    EXPECT_EQ(test::pixel(framed(style), 0, 0)[3], 255);
}

TEST(Framing, ContentStandsOnTheBackground) {
    for (const double padding : {15.0, 40.0, 500.0}) {
        const int pad = int(std::min(padding, 40.0));
        const PixelBuffer picture = framed(onGrey(padding, {.opacity = 0}));
        EXPECT_EQ(test::pixel(picture, pad - 1, 60)[0], 128) << padding;
        EXPECT_EQ(test::pixel(picture, pad, 60)[0], 255) << padding;
        EXPECT_EQ(test::pixel(picture, 90, 119 - pad)[0], 255) << padding;
        EXPECT_EQ(test::pixel(picture, 90, 120 - pad)[0], 128) << padding;
        EXPECT_EQ(test::pixel(picture, pad, pad)[0], 128) << "a round corner, " << padding;
        EXPECT_EQ(test::pixel(picture, 0, 0)[3], 255) << padding;
    }
}

TEST(Framing, ShadowIsTheBlurredShapeBelowTheContent) {
    // Far from the corners the shape is a half plane: its shadow is the Gaussian's integral.
    const double sigma = 5;
    const double opacity = 0.6;
    const PixelBuffer picture = framed(onGrey(40, {opacity, sigma, 0, 8}));
    for (const int distance : {2, 5, 9, 14}) {
        const double depth = distance - 0.5 - 8;
        const double coverage = 0.5 * std::erfc(depth / sigma / std::sqrt(2.0));
        EXPECT_NEAR(test::pixel(picture, 90, 40 - distance)[0], 128 * (1 - opacity * coverage), 3)
            << distance;
    }
    EXPECT_GT(test::pixel(picture, 90, 80)[0], 110) << "an offset of 8 is downward";
}

TEST(HexColor, ReadsSixOrEightDigits) {
    const struct {
        const char* text;
        std::optional<Color> expected;
    } cases[] = {
        {"#336699", Color{0.2, 0.4, 0.6, 1}},
        {" \n#336699\t", Color{0.2, 0.4, 0.6, 1}},
        {"#FFcc0033", Color{1, 0.8, 0, 0.2}},
        {"#369", {}},
        {"#33669g", {}},
        {"+12345", {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parseHexColor(c.text), c.expected) << c.text;
    }
}

TEST(Background, WhatCannotBeReadFallsBack) {
    const test::TemporaryFolder folder;
    folder.write("ramp.png", test::pngOf(test::placeColouredPicture({30, 20}), {30, 20}));
    folder.write("playlist.png", "#EXTM3U\n#EXTINF:1,\nramp.png\n");
    const std::array<int, 3> lowerLeft{18, 26, 51};
    const std::array<int, 3> upperRight{51, 76, 115};
    const auto expectFallback = [&](const BackgroundStyle& style, const std::string& name) {
        const Rect extent{0, 0, 64, 48};
        const PixelBuffer picture = background(style, extent, folder.path());
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(test::pixel(picture, 0, 0)[channel], lowerLeft[channel], 2) << name;
            EXPECT_NEAR(test::pixel(picture, 63, 47)[channel], upperRight[channel], 2) << name;
        }
    };
    for (const std::string name : {"playlist.png", "  ", "/no/such/file"}) {
        expectFallback(BackgroundStyle::image(name), name);
    }
    expectFallback(BackgroundStyle::gradient("red", ""), "colours");
    EXPECT_EQ(test::pixel(background(BackgroundStyle::solid("?"), {0, 0, 4, 4}), 1, 1),
              (std::array{18, 26, 51, 255}));
}

TEST(Background, PictureCoversTheFrameFromItsMiddle) {
    const test::TemporaryFolder folder;
    folder.write("50%d ramp.png", test::pngOf(test::placeColouredPicture({300, 100}), {300, 100}));
    const Rect extent{0, 0, 120, 100};
    const PixelBuffer picture =
        background(BackgroundStyle::image("\t50%d ramp.png \n"), extent, folder.path());
    for (const int x : {5, 60, 115}) { // 300 × 100 onto 120 × 100: 90 pixels go on either side
        EXPECT_NEAR(test::pixel(picture, x, 50)[0], 255.0 * (90 + x) / 299, 2) << x;
        EXPECT_NEAR(test::pixel(picture, x, 50)[1], 128, 2) << x;
    }
}

TEST(Background, WallpapersAreTwoAccentsOverADiagonal) {
    using enum BuiltInWallpaperStyle;
    const struct {
        BuiltInWallpaperStyle id;
        PixelSize size;
        int x, y; // the middle of an accent; in oblong pictures also where its radius, from the width, tells
        std::array<int, 4> color;
    } cases[] = {
        {aurora, {200, 200}, 36, 164, {22, 182, 172, 255}}, {ember, {200, 200}, 48, 52, {206, 152, 66, 255}},
        {tide, {200, 200}, 28, 96, {53, 169, 156, 255}},    {graphite, {200, 200}, 40, 36, {45, 52, 65, 255}},
        {ember, {90, 160}, 21, 41, {206, 152, 66, 255}},    {ember, {90, 160}, 21, 80, {109, 64, 33, 255}},
        {ember, {160, 90}, 38, 23, {206, 153, 67, 255}},    {ember, {160, 90}, 96, 23, {151, 75, 39, 255}}};
    for (const auto& c : cases) {
        const Rect extent{0, 0, double(c.size.width), double(c.size.height)};
        const auto seen = test::pixel(background(BackgroundStyle::wallpaper(c.id), extent), c.x, c.y);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(seen[i], c.color[i], 2) << int(c.id) << " " << c.x;
        }
    }
}

} // namespace
} // namespace tavrin
