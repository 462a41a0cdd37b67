#include <cmath>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/CameraPiPLayer.h"
#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/TypingLayer.h"
#include "TavrinKit/Compositing/WatermarkLayer.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

const Rect wide{0, 0, 640, 360};
const PixelGrid plain{};

Image grey(const Rect& rect = wide) {
    return Image::color({0.5, 0.5, 0.5, 1}).cropped(rect);
}

#define EXPECT_RECT(rect, px, py, w, h)                                                                      \
    do {                                                                                                     \
        const Rect got = rect;                                                                               \
        EXPECT_NEAR(got.x, px, 1e-9);                                                                        \
        EXPECT_NEAR(got.y, py, 1e-9);                                                                        \
        EXPECT_NEAR(got.width, w, 1e-9);                                                                     \
        EXPECT_NEAR(got.height, h, 1e-9);                                                                    \
    } while (false)

TEST(TypingLayer, DropsTheOldestChipsButNeverTheLast) {
    const auto layout = [](int count, const std::string& text, const Rect& frame) {
        std::vector<TypingMeasuredChip> chips;
        for (int i = 0; i < count; ++i) {
            chips.push_back(TypingLayer::measureTypingChip({text, TypingChipRole::modifier}, 14));
        }
        return TypingLayer::layout(chips, frame);
    };
    const auto few = layout(3, "i", wide);
    EXPECT_EQ(few.firstChip, 0U);
    EXPECT_RECT(few.panel, 320 - (3 * 34 + 16 + 36) / 2 + 2, 19.8 + 2, 3 * 34 + 16 + 36, 32 + 24);
    EXPECT_RECT(few.chips[1], few.panel.minX() + 18 + 42, few.panel.minY() + 12, 34, 32);
    // 12 chips take 12 · 42 - 8 + 36 = 532 pixels, and there are 640 · 0.82 = 524.8.
    EXPECT_EQ(layout(12, "i", wide).firstChip, 1U);
    EXPECT_EQ(layout(11, "i", wide).firstChip, 0U);
    const auto last = layout(4, std::string(200, 'm'), wide);
    EXPECT_EQ(last.firstChip, 3U);
    EXPECT_EQ(last.chips.size(), 1U);
    EXPECT_EQ(layout(1, "i", {100, 50, 200, 100}).panel.minY(), 50 + 18 + 2) << "no lower than 18";
}

TEST(OverlayAnchors, StandInThePartThatIsSeen) {
    const Rect tall{0, 0, 90, 160};
    const Rect seen = seenPart(wide, tall);
    EXPECT_RECT(seen, 320 - 101.25, 0, 202.5, 360);
    EXPECT_RECT(seenPart(wide, {0, 0, 64, 36}), 0, 0, 640, 360);
    EXPECT_RECT(seenPart({0, 0, 100, 200}, {0, 0, 64, 64}), 0, 50, 100, 100);
    EXPECT_RECT(seenPart(wide, {0, 0, 0, 0}), 0, 0, 640, 360);
    const PixelGrid grid = PixelGrid::of(wide, tall);
    EXPECT_NEAR(grid.scale.x, 90 / 202.5, 1e-12);
    EXPECT_RECT(grid.aligned({seen.x + 1, 1, 3, 3}), seen.x, 0, 2 / grid.scale.x, 2 / grid.scale.y);

    // A mark in the corner of a vertical picture of a wide take comes out whole and sharp.
    WatermarkStyle style{.enabled = true,
                         .text = "III",
                         .opacity = 1,
                         .widthFraction = 0.5,
                         .marginFraction = 0.1,
                         .anchor = WatermarkAnchor::bottomRight};
    style.shadowEnabled = false;
    const Image frame = renderToOutput(WatermarkLayer(style, {}).overlayWatermark(grey(), seen, grid), tall);
    const PixelBuffer picture = test::rendered(frame, tall);
    int left = 90;
    int right = 0;
    int full = 0;
    for (int y = 0; y < 160; ++y) {
        for (int x = 0; x < 90; ++x) {
            const int level = test::pixel(picture, x, y)[0];
            left = level > 160 ? std::min(left, x) : left;
            right = level > 160 ? std::max(right, x) : right;
            full += level > 250 ? 1 : 0;
        }
    }
    EXPECT_GT(left, 36);
    EXPECT_LT(right, 81);
    EXPECT_GT(right - left, 10);
    EXPECT_GT(full, 20);
}

TEST(WatermarkLayer, PictureWithShadowFromThePackageOrNothing) {
    const test::TemporaryFolder folder;
    folder.write("mark.png", test::pngOf(Image::color({1, 0, 0, 1}), {40, 20}));
    folder.write("broken.png", "\x89PNG\r\n\x1a\n and no more");
    WatermarkStyle style{.enabled = true,
                         .kind = WatermarkKind::image,
                         .imagePath = " mark.png\n",
                         .opacity = 1,
                         .widthFraction = 0.25,
                         .marginFraction = 0.1,
                         .anchor = WatermarkAnchor::bottomLeft};
    const auto overlaid = [&] {
        return WatermarkLayer(style, folder.path()).overlayWatermark(grey(), wide, plain);
    };
    const Rect rect = WatermarkLayer::watermarkRect(wide, style, 2);
    EXPECT_EQ(test::pixel(overlaid(), rect.midX(), rect.midY()), (std::array{255, 0, 0, 255}));
    EXPECT_NEAR(test::pixel(overlaid(), rect.midX(), rect.minY() - 1.6)[0], 128 * (1 - 0.45 / 2), 8);
    style.shadowEnabled = false;
    EXPECT_EQ(test::pixel(overlaid(), rect.midX(), rect.minY() - 1.6)[0], 128);

    for (const char* name : {"broken.png", "missing.png", "."}) {
        style.imagePath = name;
        const WatermarkLayer layer(style, folder.path());
        testing::internal::CaptureStderr();
        EXPECT_EQ(test::pixel(layer.overlayWatermark(grey(), wide, plain), rect.midX(), rect.midY())[0], 128);
        (void)layer.overlayWatermark(grey(), wide, plain);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    }
}

TEST(CameraPiPLayer, TellsTheTimeOfTheCamera) {
    const auto time = [](double sourceTime, CameraCompositeContext context) {
        return context.cameraTime(sourceTime);
    };
    const CameraCompositeContext context{{}, {}, 0.25, 3600, 100, 10};
    EXPECT_NEAR(time(5, context), 15 + 0.25 + 15 * 3600 / 3.6e6, 1e-12);
    EXPECT_EQ(time(-50, context), 0);
    EXPECT_EQ(time(500, context), 100);
    EXPECT_EQ(time(std::nan(""), context), 0);
    EXPECT_EQ(time(5, {{}, {}, 0, 0, std::nan(""), 0}), 0);
}

TEST(CameraPiPLayer, LaysBackdropShadowPictureAndVeil) {
    const Image camera = Image::color({0, 1, 0, 1}).cropped({0, 0, 160, 90});
    CameraPiPStyle style{.enabled = true, .widthFraction = 0.25, .marginFraction = 0.1};
    const auto overlaid = [&] {
        return CameraPiPLayer({.sampler = {}, .style = style}).overlayPicture(grey(), camera, {}, wide);
    };
    const Rect rect{640 - 36 - 160, 36, 160, 90};
    style.borderOpacity = 0;
    style.shadowOpacity = 0;
    EXPECT_EQ(test::pixel(overlaid(), rect.midX(), rect.midY()), (std::array{0, 255, 0, 255}));
    EXPECT_EQ(test::pixel(overlaid(), rect.midX(), rect.minY() - 2)[0], 128);
    EXPECT_EQ(test::pixel(overlaid(), rect.minX(), rect.minY())[0], 128) << "round corners";
    style.borderOpacity = 1;
    EXPECT_NEAR(test::pixel(overlaid(), rect.midX(), rect.midY())[0], 255 * 0.22, 1);
    style.shadowOpacity = 0.5;
    EXPECT_NEAR(test::pixel(overlaid(), rect.midX(), rect.minY() - 3)[0], 128 * (1 - 0.5), 2);
    EXPECT_EQ(test::pixel(overlaid(), rect.midX(), rect.minY() - 4)[0], 128)
        << "it ends with the shape's own rectangle";
    style.backgroundTreatment = CameraPiPBackgroundTreatment::plate;
    EXPECT_LT(test::pixel(overlaid(), rect.minX() - 4, rect.midY())[0], 75);
    EXPECT_EQ(test::pixel(overlaid(), rect.minX() - 11, rect.midY())[0], 128)
        << "6 % of 160, rounded up, and no more";
    style.shape = CameraPiPShape::circle;
    style.widthFraction = 1.0 / 640;
    EXPECT_EQ(test::pixel(overlaid(), 640 - 36 - 1, 36)[0], 128) << "no picture of one pixel";
}

} // namespace
} // namespace tavrin
