#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/CursorLayer.h"
#include "TavrinKit/Compositing/CursorQualityValidator.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

const Rect frame{0, 0, 200, 150};
const FramingStyle unframed{.padding = 0};
const OverlayMapping plain(frame, {}, {}, frame, unframed);

/// A cursor in pixels of the frame, over grey.
class CursorDrawing : public testing::Test {
protected:
    CursorDrawing() {
        state.position = state.highlightPosition = {100, 75};
        state.sizeMultiplier = 2;
    }
    [[nodiscard]] PixelBuffer draw() {
        CursorLayer layer(cache);
        const Image image = layer.overlayCursor(Image::color(grey).cropped(frame), state, plain);
        EXPECT_EQ(image.extent(), frame);
        return test::rendered(image, frame);
    }
    void useClick(ClickHighlightStyle style, double progress) {
        state.highlight = style;
        state.highlightProgress = progress;
        state.highlightIntensity = 1;
    }
    /// The recorded image is a full square of one colour.
    void useSquare(int side, Vec2 hotSpot, Vec2 pixelSize, const Color& color) {
        const std::string png = test::pngOf(Image::color(color), {side, side});
        state.appearance = CursorAppearance("square", Bytes(png.begin(), png.end()), hotSpot, pixelSize);
    }
    [[nodiscard]] static bool isGrey(const PixelBuffer& picture, int x, int y) {
        return test::pixel(picture, x, y) == std::array{102, 102, 102, 255};
    }
    [[nodiscard]] static bool isUntouched(const PixelBuffer& picture) {
        return test::areEqual(picture, test::rendered(Image::color(grey), frame));
    }

    static constexpr Color grey{0.4, 0.4, 0.4, 1};
    CursorSpriteCache cache;
    CursorFrameState state;
};

TEST_F(CursorDrawing, HiddenCursorLeavesOnlyItsTrail) {
    useClick(ClickHighlightStyle::ring, 0.8);
    for (const auto& [visible, opacity] : {std::pair{false, 1.0}, {true, 0.01}, {true, std::nan("")}}) {
        state.visible = visible;
        state.opacity = opacity;
        EXPECT_TRUE(isUntouched(draw())) << visible << opacity;
    }
    state.trailPoints = {{40, 40}, {60, 40}};
    state.trailOpacities = {1, 1};
    const PixelBuffer trailed = draw();
    EXPECT_FALSE(isGrey(trailed, 60, 40));
    EXPECT_TRUE(isGrey(trailed, 100, 74));
    state.trailOpacities = {1};
    EXPECT_TRUE(isUntouched(draw())) << "lists of different lengths are no trail";
}

TEST_F(CursorDrawing, RecordedImageStandsByItsHotSpot) {
    // A 5 × 5 image, shown as 10 × 10 points, twice as large: 20 × 20. Hot spot 3 from the left, 7 from
    // below.
    useSquare(5, {3, 7}, {10, 10}, {1, 0, 0, 1});
    const PixelBuffer picture = draw();
    const Rect body{100 - 6, 75 - 14, 20, 20};
    EXPECT_EQ(test::pixel(picture, int(body.midX()), int(body.midY())), (std::array{255, 0, 0, 255}));
    EXPECT_GT(test::pixel(picture, int(body.minX()) + 1, 70)[0], 240);
    EXPECT_TRUE(isGrey(picture, int(body.minX()) - 3, 70));
    EXPECT_TRUE(isGrey(picture, 95, int(body.maxY()) + 2));
    // The shadow sticks out to the right and below, at a third of black.
    EXPECT_NEAR(test::pixel(picture, int(body.maxX()), 70)[0], 102 * (1 - 0.34), 14);
    EXPECT_LT(test::pixel(picture, 105, int(body.minY()) - 1)[0], 95);
    EXPECT_EQ(cache.size(), 1U);

    state.opacity = 0.5;
    EXPECT_NEAR(test::pixel(draw(), 100, 75)[0], 255 * 0.5 + 102 * 0.5 * (1 - 0.17), 2);
}

TEST_F(CursorDrawing, ImageThatIsNoneGivesTheGlyph) {
    const PixelBuffer glyph = draw();
    state.appearance = CursorAppearance("broken", Bytes{1, 2, 3}, Vec2{0, 0}, Vec2{9, 9});
    const PixelBuffer picture = draw();
    for (const auto& [x, y] : {std::pair{104, 60}, {101, 73}, {110, 50}}) {
        EXPECT_EQ(test::pixel(picture, x, y), test::pixel(glyph, x, y)) << x;
    }
    EXPECT_EQ(cache.size(), 1U) << "the glyph's sprite alone is kept";
}

TEST_F(CursorDrawing, GlyphPointsWithItsTipOrItsCentre) {
    // The arrow: 88 pixels of side, its tip 2 + 1 below and right of the sprite's corner, which is 1 off the
    // point.
    PixelBuffer picture = draw();
    EXPECT_GT(test::pixel(picture, 104, 66)[0], 235) << "white inside, right below the tip";
    EXPECT_TRUE(isGrey(picture, 97, 70));
    EXPECT_TRUE(isGrey(picture, 104, 77));
    EXPECT_LT(test::pixel(picture, 100, 60)[0], 60) << "the dark outline of the left edge";
    // The cross is drawn into 2...69 of the sprite's 88 pixels and points with the sprite's centre, 44.
    state.glyph = CursorGlyphKind::crosshair;
    picture = draw();
    EXPECT_GT(test::pixel(picture, 100 - 44 + 2 + 26, 75 + 44 - 2 - 8)[0], 230) << "its upper arm";
    EXPECT_TRUE(isGrey(picture, 100 + 40, 75 - 40));
}

TEST(CursorQuality, MeasuresEachStepUpToTheEndOfTheRange) {
    EXPECT_TRUE(CursorQualityValidator::validateDefaultArrowSharpness(1, 2.5));
    // A glyph smaller than a pixel is a grey spot, and one of no size has no edge at all.
    EXPECT_FALSE(CursorQualityValidator::validateDefaultArrowSharpness(0.01, 2.5));
    EXPECT_FALSE(CursorQualityValidator::validateDefaultArrowSharpness(0, 2.5));
    const CursorSharpnessReport report =
        CursorQualityValidator::analyzeSharpness(CursorGlyphKind::iBeam, 1, 1.3, 0.1);
    ASSERT_EQ(report.samples.size(), 4U);
    EXPECT_NEAR(report.samples[3].scale, 1.3, 1e-9);
    // Straight edges: each has two or three pixels across, of which at most one is grey.
    EXPECT_GT(report.minimumEdgeEnergy(), 0.6);
    EXPECT_LT(report.maximumTransitionRatio(), 0.45);
    for (const double step : {0.0, -1.0, std::nan("")}) {
        EXPECT_TRUE(CursorQualityValidator::analyzeDefaultArrowSharpness(1, 2, step).samples.empty());
    }
}

} // namespace
} // namespace tavrin
