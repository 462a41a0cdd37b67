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

TEST_F(CursorDrawing, EmbeddedCursorKeepsHighlightAndTrail) {
    state.bodyVisible = false;
    EXPECT_TRUE(isUntouched(draw()));
    useClick(ClickHighlightStyle::halo, 1);
    const auto p = test::pixel(draw(), 100, 75);
    // 0.55 of (0.28, 0.74, 1) over 0.4
    EXPECT_NEAR(p[0], 255 * (0.28 * 0.55 + 0.4 * 0.45), 2);
    EXPECT_NEAR(p[1], 255 * (0.74 * 0.55 + 0.4 * 0.45), 2);
    EXPECT_NEAR(p[2], 255 * (0.55 + 0.4 * 0.45), 2);
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

TEST_F(CursorDrawing, RingGrowsAndFadesWithAge) {
    state.bodyVisible = false;
    for (const double progress : {1.0, 0.5}) {
        useClick(ClickHighlightStyle::ring, progress);
        const double base = 11;
        const double growth = 1 + 1.1 * (1 - progress);
        const double inner = base * (1 + growth * 0.45);
        const double outer = base * (1.8 + growth * 1.2);
        const double alpha = progress * 0.88;
        const PixelBuffer picture = draw();
        const int middle = int((inner + outer) / 2);
        EXPECT_NEAR(test::pixel(picture, 100 + middle, 75)[2], 255 * (alpha + 0.4 * (1 - alpha)), 2)
            << progress;
        EXPECT_NEAR(test::pixel(picture, 100, 75 - middle)[0], 255 * (0.28 * alpha + 0.4 * (1 - alpha)), 2);
        EXPECT_TRUE(isGrey(picture, 100 + int(inner) - 2, 75)) << progress;
        EXPECT_TRUE(isGrey(picture, 100 - int(outer) - 3, 75)) << progress;
    }
}

TEST_F(CursorDrawing, TrailGrowsTowardsTheCursor) {
    state.visible = false;
    state.bodyStyle = CursorBodyStyle::touch;
    state.trailPoints = {{30, 30}, {80, 30}, {130, 30}, {180, 30}};
    state.trailOpacities = {1, 0.0139, 0.8, 1};
    const PixelBuffer picture = draw();
    // alpha = opacity × (0.35 + p × 0.65), half of it as colour
    const auto whiteness = [](double alpha) {
        return 255 * (alpha / 2 + 0.4 * (1 - alpha / 2));
    };
    EXPECT_NEAR(test::pixel(picture, 30, 30)[0], whiteness(0.35), 2);
    EXPECT_TRUE(isGrey(picture, 80, 30)) << "0.0139 × 0.57 is below a hundredth";
    EXPECT_NEAR(test::pixel(picture, 130, 30)[0], whiteness(0.8 * (0.35 + 0.65 * 2 / 3)), 2);
    EXPECT_NEAR(test::pixel(picture, 180, 30)[0], whiteness(1), 2);
    // radius 1.45 × (0.8 + p × 1.8) × 2, faded out at (1.7 + p) times that
    EXPECT_FALSE(isGrey(picture, 180 - 18, 30));
    EXPECT_TRUE(isGrey(picture, 180 - 22, 30));
    EXPECT_TRUE(isGrey(picture, 30 - 5, 30));
}

TEST(CursorSpriteCache, SharesHundredthsOfAScaleAndStartsAnewAtTheSeventyThirdSprite) {
    CursorSpriteCache cache;
    std::vector<double> drawn;
    const auto ask = [&](double scale) {
        (void)cache.sprite("a", scale, [&](double s) {
            drawn.push_back(s);
            return Image::color({1, 1, 1, 1});
        });
    };
    for (const double scale : {1.604, 1.6, 1.596, 1.606, 1.594}) {
        ask(scale);
    }
    EXPECT_EQ(drawn, (std::vector{1.6, 1.61, 1.59}));
    EXPECT_FALSE(cache.sprite("b", 1, [](double) { return std::optional<Image>(); }));
    EXPECT_EQ(cache.size(), 3U);
    for (int i = 0; i < 69; ++i) {
        ask(2 + i);
    }
    EXPECT_EQ(cache.size(), 72U);
    ask(1.6);
    EXPECT_EQ(drawn.size(), 72U);
    for (const double scale : {99.0, 1.6, 99.0}) {
        ask(scale);
    }
    EXPECT_EQ(drawn.size(), 74U);
    EXPECT_EQ(cache.size(), 2U);
}

TEST(CursorQuality, MeasuresEachStepUpToTheEndOfTheRange) {
    EXPECT_TRUE(CursorQualityValidator::validateDefaultArrowSharpness(1, 2.5));
    // A glyph smaller than a pixel is a grey spot, and one of no size has no edge at all.
    EXPECT_FALSE(CursorQualityValidator::validateDefaultArrowSharpness(0.01, 2.5));
    EXPECT_FALSE(CursorQualityValidator::validateDefaultArrowSharpness(0, 2.5));
    EXPECT_FALSE(CursorQualityValidator::validateDefaultArrowSharpness(2.5, 1));
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
    EXPECT_EQ(CursorQualityValidator::analyzeDefaultArrowSharpness(1, 2, 1e-300).samples.size(), 1U);
    EXPECT_EQ(CursorSharpnessReport().minimumEdgeEnergy(), 0);
    EXPECT_EQ(CursorSharpnessReport().maximumTransitionRatio(), 1);
}

} // namespace
} // namespace tavrin
