#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// 256 × 128: in its middle parts red is x and green is 2 y, give or take one.
Image sample() {
    return test::placeColouredPicture({256, 128});
}

/// Where in the sample the pixel came from.
Vec2 place(const PixelBuffer& picture, int x, int y) {
    const auto p = test::pixel(picture, x, y);
    return {p[0] * 255.0 / 255, p[1] * 127.0 / 255};
}

TEST(FrameOperations, CameraKeepsTheFocusStillAndTheExtent) {
    const Image image = sample();
    const Image zoomed = applyCamera(image, {{0.25, 0.75}, 4});
    EXPECT_EQ(zoomed.extent(), image.extent());
    const PixelBuffer picture = test::rendered(zoomed, image.extent());
    for (const auto& [x, y] : {std::pair{64, 96}, {20, 40}, {200, 120}}) {
        const Vec2 from = place(picture, x, y);
        EXPECT_NEAR(from.x, 64 + (x + 0.5 - 64) / 4 - 0.5, 1) << x;
        EXPECT_NEAR(from.y, 96 + (y + 0.5 - 96) / 4 - 0.5, 1) << y;
    }
    for (const double scale : {1.0001, 1.0, 0.2, nan, infinity}) {
        EXPECT_EQ(applyCamera(image, {{0.5, 0.5}, scale}).node(), image.node()) << scale;
    }
}

TEST(FrameOperations, CropCutsOutAndMovesToTheOrigin) {
    const struct {
        CropRegion region;
        Rect expected;
    } cases[] = {
        {{0.25, 0.5, 0.5, 0.25}, {0, 0, 128, 32}},
        {{0.00005, 0, 0.99995, 1}, {0, 0, 256, 128}}, // the whole frame, nearly
        {{0.5, 0.5, 0.003, 0.5}, {0, 0, 256, 128}},   // less than a pixel wide
        {{0.75, 0, 0.5, 1}, {0, 0, 64, 128}},         // sticks out
        {{1.5, 0, 0.5, 1}, {0, 0, 256, 128}},         // beside the picture
        {{nan, 0, 0.5, 1}, {0, 0, 256, 128}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(applyCrop(sample(), c.region).extent(), c.expected) << c.region.x;
    }
    const PixelBuffer picture = test::rendered(applyCrop(sample(), cases[0].region), cases[0].expected);
    EXPECT_NEAR(place(picture, 10, 20).x, 64 + 10, 1);
    EXPECT_NEAR(place(picture, 10, 20).y, 64 + 20, 1);
}

TEST(FrameOperations, OutputIsCentreCroppedNeverLetterboxed) {
    const struct {
        Rect output;
        double left, right, bottom, top; ///< what is seen of the 256 × 128 sample
    } cases[] = {
        {{0, 0, 128, 64}, 0, 256, 0, 128},  {{0, 0, 64, 64}, 64, 192, 0, 128},
        {{0, 0, 90, 160}, 92, 164, 0, 128}, {{0, 0, 256, 64}, 0, 256, 32, 96},
        {{0, 0, 512, 256}, 0, 256, 0, 128},
    };
    for (const auto& c : cases) {
        const Image image = renderToOutput(sample(), c.output);
        ASSERT_EQ(image.extent(), c.output);
        const PixelBuffer picture = test::rendered(image, c.output);
        const int right = picture.size().width - 1;
        const int top = picture.size().height - 1;
        EXPECT_NEAR(place(picture, 0, 0).x, c.left, 3) << right;
        EXPECT_NEAR(place(picture, right, top).x, c.right - 1, 3) << right;
        EXPECT_NEAR(place(picture, 0, 0).y, c.bottom, 3) << right;
        EXPECT_NEAR(place(picture, right, top).y, c.top - 1, 3) << right;
        EXPECT_EQ(test::pixel(picture, right, 0)[3], 255);
    }
    EXPECT_EQ(renderToOutput(sample(), {0, 0, 0, 90}).extent(), sample().extent());
    const Image moved = sample().translated(-40, 7);
    EXPECT_NEAR(place(test::rendered(renderToOutput(moved, {0, 0, 256, 128}), {0, 0, 256, 128}), 50, 60).x,
                50, 1);
}

} // namespace
} // namespace tavrin
