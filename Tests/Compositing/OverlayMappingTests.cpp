#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/OverlayMapping.h"

namespace tavrin {
namespace {

constexpr CropRegion whole{};
const FramingStyle unframed{.padding = 0, .cornerRadius = 0};

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
        {"all at once",
         {{0.25, 0.5}, 1.5},
         {0.1, 0, 0.5, 0.5},
         {0, 0, 100, 50},
         {.padding = 10},
         {0.4, 0.25},
         {65, 17.5}},
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
