#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "SampleScreen.h"
#include "TavrinKit/Compositing/CameraPiPLayer.h"
#include "TavrinKit/Imaging/ImageRenderer.h"

namespace tavrin {
namespace {

/// Makes styles as a damaged or hostile document may hold them.
class Dice {
public:
    explicit Dice(unsigned seed) : engine_(seed) {}

    double number() {
        using Limits = std::numeric_limits<double>;
        constexpr std::array wild{Limits::quiet_NaN(),
                                  Limits::infinity(),
                                  -Limits::infinity(),
                                  Limits::max(),
                                  -Limits::max(),
                                  Limits::denorm_min(),
                                  1e18,
                                  -1e9,
                                  70000.0,
                                  -1.0,
                                  0.0,
                                  1e-7,
                                  0.02,
                                  0.3,
                                  0.97,
                                  1.0,
                                  13.0,
                                  300.0};
        return wild[std::uniform_int_distribution<std::size_t>(0, wild.size() - 1)(engine_)];
    }
    /// A number that leaves something to be seen more often than not.
    double number(double tame) { return below(3) == 0 ? number() : tame; }
    int below(int bound) { return std::uniform_int_distribution(0, bound - 1)(engine_); }
    bool coin() { return below(2) == 0; }
    std::string text() {
        constexpr std::array texts{
            "",          "  \n",      "Save", "\xff\xfe", "\xf0\x9f\x8e\x89 \xd7\xa9\xd7\x9c",
            "#12345678", "/dev/zero", "/",    "none.png"};
        return below(20) == 0 ? std::string(3000, 'W') : texts[std::size_t(below(int(texts.size())))];
    }

private:
    std::mt19937 engine_;
};

CameraPiPStyle cameraStyle(Dice& dice) {
    return {.enabled = true,
            .anchor = CameraPiPAnchor(dice.below(4)),
            .widthFraction = dice.number(0.3),
            .marginFraction = dice.number(0.04),
            .cornerRadiusFraction = dice.number(0.1),
            .shadowOpacity = dice.number(0.5),
            .borderOpacity = dice.number(0.5),
            .borderWidth = dice.number(),
            .shape = CameraPiPShape(dice.below(2)),
            .layoutMode = CameraPiPLayoutMode(dice.below(2)),
            .focusReactionStrength = dice.number(0.7),
            .backgroundTreatment = CameraPiPBackgroundTreatment(dice.below(3))};
}

AnnotationRegion annotation(Dice& dice) {
    AnnotationRegion region;
    region.startTime = dice.coin() ? 0 : dice.number();
    region.endTime = dice.coin() ? 9 : dice.number();
    region.type = AnnotationType(dice.below(3));
    region.content = dice.text();
    region.imagePath = dice.text();
    region.position = {dice.number(0.2), dice.number(0.4)};
    region.size = {dice.number(0.5), dice.number(0.4)};
    region.zIndex = dice.below(3);
    region.figure = {AnnotationFigureShape(dice.below(3)), AnnotationArrowDirection(dice.below(8))};
    region.style = {.textColorHex = dice.text(),
                    .fillColorHex = dice.text(),
                    .strokeColorHex = dice.text(),
                    .fontSize = dice.number(14),
                    .fontWeight = AnnotationFontWeight(dice.below(3)),
                    .textAlignment = AnnotationTextAlignment(dice.below(3)),
                    .borderRadius = dice.number(4),
                    .strokeWidth = dice.number(2),
                    .shadowOpacity = dice.number(0.5)};
    return region;
}

TimelineModel timeline(Dice& dice) {
    TimelineModel timeline;
    timeline.cropTrack.region = {dice.number(0), dice.number(0), dice.number(1), dice.number(1)};
    timeline.framingTrack.style.padding = dice.number(6);
    timeline.framingTrack.style.cornerRadius = dice.number(4);
    timeline.framingTrack.style.shadow = {dice.number(0.3), dice.number(8), dice.number(0), dice.number(4)};
    timeline.zoomTrack.segments.push_back({.startTime = dice.number(0),
                                           .endTime = dice.number(9),
                                           .focus = {dice.number(0.5), dice.number(0.5)},
                                           .scale = dice.number(1.6)});
    CursorStyle& cursor = timeline.cursorTrack.style;
    cursor.sizeMultiplier = dice.number(1.4);
    cursor.bodyStyle = CursorBodyStyle(dice.below(2));
    cursor.trailLengthSeconds = dice.number(0.4);
    cursor.trailIntensity = dice.number(0.5);
    cursor.clickHighlightIntensity = dice.number(0.9);
    cursor.clickHighlightDurationSeconds = dice.number(1);
    TypingStyle& typing = timeline.typingTrack.style;
    typing.holdDurationSeconds = dice.number(3);
    typing.fadeDurationSeconds = dice.number(0.4);
    typing.keyPopDurationSeconds = dice.number(0.2);
    typing.burstGapSeconds = dice.number(0.4);
    typing.maxVisibleChips = std::int64_t(dice.below(20)) - 2;
    for (int i = dice.below(4); i > 0; --i) {
        timeline.annotationTrack.regions.push_back(annotation(dice));
    }
    timeline.watermarkTrack.style = {.enabled = true,
                                     .kind = WatermarkKind(dice.below(2)),
                                     .text = dice.text(),
                                     .imagePath = dice.text(),
                                     .opacity = dice.number(0.5),
                                     .widthFraction = dice.number(0.3),
                                     .marginFraction = dice.number(0.05),
                                     .anchor = WatermarkAnchor(dice.below(5)),
                                     .shadowEnabled = dice.coin()};
    return timeline;
}

std::shared_ptr<const EventTimeline> events(Dice& dice) {
    std::vector<KeyEvent> keys;
    for (int i = 0; i < 6; ++i) {
        keys.push_back({.timestamp = 0.3 * i,
                        .displayText = dice.text(),
                        .contentKind = KeyEventContentKind(dice.below(2))});
    }
    return std::make_shared<const EventTimeline>(EventTimeline(
        {{0, {0.2, 0.3}, MouseEventKind::moved, {}}, {1, {0.6, 0.4}, MouseEventKind::clicked, 0}}, keys));
}

TEST(AnyStyle, LeavesAFrameToBeSeen) {
    testing::internal::CaptureStderr(); // pictures that are none
    const Image source = test::placeColouredPicture({64, 36});
    const Image camera = test::placeColouredPicture({40, 30});
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice(seed);
        const PixelSize size = dice.coin() ? PixelSize{32, 18} : PixelSize{20, 36};
        const Rect output{0, 0, double(size.width), double(size.height)};
        const FrameCompositor compositor({.events = events(dice),
                                          .timeline = timeline(dice),
                                          .timeMapper = TimelineTimeMapper(9, {}),
                                          .sourceDuration = 9,
                                          .packageRoot = "/nowhere",
                                          .outputSize = size});
        const CameraPiPLayer layer({.sampler = {}, .style = cameraStyle(dice)});
        const CameraTransform zoom{{dice.number(0.5), dice.number(0.5)}, dice.number(1.5)};
        try {
            const Image frame = compositor.compose(dice.number(1.4), source);
            const Image whole = layer.overlayPicture(frame, camera, zoom, output);
            ASSERT_EQ(whole.extent(), output);
            ASSERT_EQ(test::rendered(whole, output).size(), size);
            const auto pixels = renderReference(whole, output);
            ASSERT_TRUE(std::all_of(pixels.begin(), pixels.end(), [](const std::array<float, 4>& p) {
                return std::isfinite(p[0] + p[1] + p[2] + p[3]);
            }));
        } catch (const std::exception& error) {
            FAIL() << error.what();
        }
    }
    testing::internal::GetCapturedStderr();
}

} // namespace
} // namespace tavrin
