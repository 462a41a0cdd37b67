#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "SampleScreen.h"
#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/FramingLayer.h"
#include "TavrinKit/Compositing/OverlayMapping.h"

namespace tavrin {
namespace {

constexpr CropRegion whole{};
const FramingStyle unframed{.padding = 0, .cornerRadius = 0};

/// The centre of gravity of everything red.
Vec2 centreOfRed(const PixelBuffer& picture) {
    double sum = 0;
    Vec2 moment;
    for (int y = 0; y < picture.size().height; ++y) {
        for (int x = 0; x < picture.size().width; ++x) {
            const double weight = test::pixel(picture, x, y)[0];
            sum += weight;
            moment = moment + Vec2{x + 0.5, y + 0.5} * weight;
        }
    }
    return moment * (1 / sum);
}

TEST(OverlayMapping, APointGoesWhereThePictureTakesIt) {
    std::mt19937 random(7);
    const auto number = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const Rect source{0, 0, 240, 150};
    for (int i = 0; i < 12; ++i) {
        const Vec2 point{number(0.35, 0.65), number(0.35, 0.65)};
        CameraTransform camera{{number(0.3, 0.7), number(0.3, 0.7)}, i % 3 == 0 ? 1 : number(1, 1.5)};
        const CropRegion crop{number(0, 0.1), number(0, 0.1), number(0.8, 0.9), number(0.8, 0.9)};
        const FramingStyle framing{.padding = i % 2 == 0 ? number(1, 40) : 0,
                                   .cornerRadius = 9,
                                   .shadow = {.opacity = 0},
                                   .background = BackgroundStyle::solid("000000")};
        const Vec2 pixels{point.x * source.width, point.y * source.height};
        const Image dot = softDisc(pixels, 2, {1, 0, 0, 1}, 4, {1, 0, 0, 0}, source);
        const Image picture = dot.over(Image::color({0, 0, 0, 1}).cropped(source));
        const Image framed =
            FramingLayer(framing, {}).applyFraming(applyCrop(applyCamera(picture, camera), crop));
        const OverlayMapping mapping(source, camera, crop, framed.extent(), framing);

        const Vec2 seen = centreOfRed(test::rendered(framed, framed.extent()));
        for (const Vec2 mapped : {mapping.map(point), mapping.map(pixels)}) {
            EXPECT_NEAR(mapped.x, seen.x, 0.35) << i;
            EXPECT_NEAR(mapped.y, seen.y, 0.35) << i;
        }
    }
}

TEST(OverlayMapping, PlacesAndEdges) {
    const Rect source{0, 0, 200, 100};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const FramingStyle padded{.padding = 20};
    // 160 × 60 inside: the picture is 120 × 60 in its middle.
    const struct {
        const char* name;
        CameraTransform camera;
        CropRegion crop;
        Rect frame;
        FramingStyle framing;
        Vec2 point;
        Vec2 expected;
    } cases[] = {
        {"plain", {}, whole, source, unframed, {0.25, 0.5}, {50, 50}},
        {"pixels", {}, whole, source, unframed, {30, 40}, {30, 40}},
        {"beyond the frame", {}, whole, source, unframed, {-30, 140}, {0, 100}},
        {"no number", {}, whole, source, unframed, {nan, 0.5}, {0, nan}},
        {"framed", {}, whole, source, padded, {0.25, 1}, {70, 80}},
        {"zoomed", {{0.5, 0.5}, 2}, whole, source, unframed, {0.6, 0.4}, {140, 30}},
        {"zoomed out of sight", {{0.5, 0.5}, 2}, whole, source, padded, {0.1, 0.5}, {40, 50}},
        {"focus in pixels", {{50, 50}, 2}, whole, source, unframed, {0.5, 0.5}, {150, 50}},
        {"cropped", {}, {0.5, 0, 0.5, 0.5}, {0, 0, 100, 50}, unframed, {0.75, 0.25}, {50, 25}},
        {"cut away", {}, {0.5, 0, 0.5, 0.5}, {0, 0, 100, 50}, unframed, {0.1, 0.9}, {0, 50}},
    };
    for (const auto& c : cases) {
        const Vec2 mapped = OverlayMapping(source, c.camera, c.crop, c.frame, c.framing).map(c.point);
        EXPECT_TRUE(mapped.isFinite()) << c.name;
        EXPECT_NEAR(mapped.x, c.expected.x, 1e-9) << c.name;
        if (std::isfinite(c.expected.y)) {
            EXPECT_NEAR(mapped.y, c.expected.y, 1e-9) << c.name;
        }
    }
}

} // namespace
} // namespace tavrin
