#include <algorithm>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/AnnotationLayer.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

const Rect frame{0, 0, 400, 200};
const PixelGrid plain{};

AnnotationRegion region(AnnotationType type, Vec2 position, Size2D size) {
    AnnotationRegion result;
    result.startTime = 1;
    result.endTime = 3;
    result.type = type;
    result.position = position;
    result.size = size;
    result.style.shadowOpacity = 0;
    return result;
}

AnnotationLayer layer(std::vector<AnnotationRegion> regions, CropRegion crop = {}, double padding = 0,
                      const std::filesystem::path& root = "/nowhere") {
    FramingStyle framing;
    framing.padding = padding;
    return {AnnotationTrack{std::move(regions)}, crop, framing, root};
}

std::array<int, 4> at(const AnnotationLayer& annotations, double time, int x, int y) {
    const Image grey = Image::color({0.5, 0.5, 0.5, 1}).cropped(frame);
    const Image image = annotations.overlayAnnotations(grey, time, plain);
    EXPECT_EQ(image.extent(), frame);
    return test::pixel(image, x, y);
}

constexpr std::array bare{128, 128, 128, 255};

TEST(AnnotationLayer, LaysBoxesOutOnTheCroppedPicture) {
    const struct {
        Vec2 position;
        Size2D size;
        CropRegion crop;
        double padding;
        Rect box;
    } cases[] = {
        {{0.25, 0.5}, {0.5, 0.25}, {}, 0, {100, 100, 200, 50}},
        {{0.25, 0.5}, {0.5, 0.25}, {}, 20, {40 + 80, 20 + 80, 160, 40}},
        {{0.5, 0.5}, {0.25, 0.25}, {0.5, 0.5, 0.5, 0.5}, 0, {0, 0, 200, 100}},
        {{0.9, 0.9}, {0.5, 0.25}, {}, 0, {200, 150, 200, 50}}, // pushed back inside
        {{0, 0}, {0.001, 0.001}, {}, 0, {0, 0, 18, 18}},
        {{0.3, 0.3}, {5, 5}, {}, 0, {0, 0, 400, 200}},
        {{0.01, 0.01}, {0.025, 0.025}, {0, 0, 0.02, 0.02}, 0, {80, 40, 200, 100}}, // a crop of 0.02 is 0.05
    };
    for (const auto& c : cases) {
        const auto box = layer({}, c.crop, c.padding).box(region({}, c.position, c.size), frame);
        ASSERT_TRUE(box);
        EXPECT_NEAR(box->x, c.box.x, 1e-9);
        EXPECT_NEAR(box->y, c.box.y, 1e-9);
        EXPECT_NEAR(box->width, c.box.width, 1e-9);
        EXPECT_NEAR(box->height, c.box.height, 1e-9);
    }
    EXPECT_FALSE(layer({}).box(region({}, {0, 0}, {1, 1}), {0, 0, 1, 200}));
}

TEST(AnnotationLayer, ShowsEachInItsTimeAndOrder) {
    AnnotationRegion red = region(AnnotationType::text, {0.25, 0.25}, {0.5, 0.5});
    red.content = "x";
    red.style.fillColorHex = "ff0000";
    AnnotationRegion blue = red;
    blue.style.fillColorHex = "0000ff";
    blue.id = red.id;
    blue.id.bytes[0] = std::uint8_t(red.id.bytes[0] ^ 0x80);
    const bool blueIsLater = red.id.string() < blue.id.string();
    for (const auto& regions : {std::vector{red, blue}, std::vector{blue, red}}) {
        const auto both = layer(regions);
        EXPECT_EQ(at(both, 2, 120, 60)[2] > 200, blueIsLater) << "by id where they share a level";
    }
    red.zIndex = 1;
    const auto both = layer({red, blue});
    for (const double time : {1.0, 2.0, 3.0}) {
        EXPECT_GT(at(both, time, 120, 60)[0], 230) << time;
    }
    EXPECT_EQ(at(both, 0.99, 120, 60), bare);
    EXPECT_EQ(at(both, 3.01, 120, 60), bare);
    red.content = " \n";
    EXPECT_EQ(at(layer({red}), 2, 120, 60), bare) << "not even a panel";
}

TEST(AnnotationLayer, DrawsPanelsFiguresAndPictures) {
    const test::TemporaryFolder folder;
    folder.write("green.png", test::pngOf(Image::color({0, 1, 0, 1}), {30, 20}));
    AnnotationRegion box = region(AnnotationType::image, {0.25, 0.25}, {0.5, 0.5});
    box.style.fillColorHex = "000000ff";
    box.style.strokeWidth = 4;
    box.style.borderRadius = 0;
    box.imagePath = "green.png";
    EXPECT_EQ(at(layer({box}, {}, 0, folder.path()), 2, 200, 100)[1], 255);
    EXPECT_EQ(at(layer({box}, {}, 0, folder.path()), 2, 102, 100)[0], 255) << "the stroke";

    box.imagePath = "missing.png";
    const auto empty = layer({box}, {}, 0, folder.path());
    testing::internal::CaptureStderr();
    EXPECT_NEAR(at(empty, 2, 200, 100)[1], 128 * (1 - 0.16), 1) << "the panel alone";
    (void)at(empty, 2.5, 200, 100);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;

    box.type = AnnotationType::figure;
    EXPECT_EQ(at(layer({box}), 2, 200, 100)[0], 255) << "an arrow to the right, when nothing is said";
    EXPECT_NEAR(at(layer({box}), 2, 200, 130)[0], 128 * (1 - 0.14), 1);
    box.figure = {AnnotationFigureShape::circle, {}};
    EXPECT_EQ(at(layer({box}), 2, 200, 60)[0], 255) << "the foot of the ellipse";
    box.style.shadowOpacity = 1;
    box.figure = {AnnotationFigureShape::rectangle, {}};
    EXPECT_LT(at(layer({box}), 2, 200, 154)[0], 122) << "a shadow reaches beyond the box";
}

} // namespace
} // namespace tavrin
