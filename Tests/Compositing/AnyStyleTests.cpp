#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "../Project/WildEdits.h"
#include "TavrinKit/Compositing/CameraPiPLayer.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

/// What a damaged or hostile document may hold, besides numbers that a file can say.
class Dice {
public:
    explicit Dice(std::mt19937& random) : random_(random) {}

    int below(int bound) { return std::uniform_int_distribution(0, bound - 1)(random_); }
    std::string text() {
        constexpr std::array texts{
            "",          "  \n",      "Save", "\xff\xfe", "\xf0\x9f\x8e\x89 \xd7\xa9\xd7\x9c",
            "#12345678", "/dev/zero", "/",    "none.png"};
        return below(20) == 0 ? std::string(3000, 'W') : texts[std::size_t(below(int(texts.size())))];
    }
    void spoil(std::initializer_list<double*> numbers) {
        using Limits = std::numeric_limits<double>;
        constexpr std::array wild{Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), 70000.0, 0.3};
        for (double* number : numbers) {
            *number = below(4) == 0 ? wild[std::size_t(below(int(wild.size())))] : *number;
        }
    }

private:
    std::mt19937& random_;
};

TimelineModel anyTimeline(std::mt19937& random) {
    Dice dice(random);
    TimelineModel timeline = test::wildEdits(random).timeline;
    CropRegion& crop = timeline.cropTrack.region;
    FramingStyle& framing = timeline.framingTrack.style;
    WatermarkStyle& watermark = timeline.watermarkTrack.style;
    watermark.enabled = timeline.typingTrack.style.enabled = timeline.cameraPiPTrack.style.enabled = true;
    watermark.text = dice.text();
    watermark.imagePath = dice.text();
    dice.spoil({&crop.x, &crop.width, &framing.padding, &framing.cornerRadius, &framing.shadow.blurRadius,
                &framing.shadow.offsetX, &watermark.widthFraction, &watermark.opacity,
                &timeline.cursorTrack.style.sizeMultiplier, &timeline.typingTrack.style.fadeDurationSeconds,
                &timeline.cameraPiPTrack.style.widthFraction, &timeline.cameraPiPTrack.style.marginFraction});
    for (AnnotationRegion& region : timeline.annotationTrack.regions) {
        region.startTime = 0;
        region.endTime = 9;
        region.type = AnnotationType(dice.below(3));
        region.content = dice.text();
        region.imagePath = dice.text();
        region.style.fillColorHex = dice.text();
        dice.spoil({&region.position.x, &region.size.width, &region.style.fontSize, &region.style.strokeWidth,
                    &region.style.borderRadius});
    }
    return timeline;
}

std::shared_ptr<const EventTimeline> events(std::mt19937& random) {
    std::vector<KeyEvent> keys;
    for (int i = 0; i < 6; ++i) {
        keys.push_back({.timestamp = 0.3 * i, .displayText = Dice(random).text()});
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
        std::mt19937 random(seed);
        const TimelineModel timeline = anyTimeline(random);
        const PixelSize size = seed % 2 == 0 ? PixelSize{32, 18} : PixelSize{20, 36};
        const Rect output{0, 0, double(size.width), double(size.height)};
        const FrameCompositor compositor({.events = events(random),
                                          .timeline = timeline,
                                          .timeMapper = TimelineTimeMapper(9, {}),
                                          .sourceDuration = 9,
                                          .packageRoot = "/nowhere",
                                          .outputSize = size});
        const CameraPiPLayer layer({.sampler = {}, .style = timeline.cameraPiPTrack.style});
        try {
            const Image frame = compositor.compose(seed % 7 == 0 ? std::nan("") : 1.4, source);
            const Image whole = layer.overlayPicture(frame, camera, {{0.4, 0.5}, 1.5}, output);
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
