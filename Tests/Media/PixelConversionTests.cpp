#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "TavrinKit/Media/PixelConversion.h"

namespace tavrin {
namespace {

/// A picture in memory of exactly its size, so that a sanitizer sees every byte beyond it.
PixelBuffer tightPicture(PixelFormat format, PixelSize size, std::ptrdiff_t padding, bool upward) {
    const bool isPlanar = format == PixelFormat::i420;
    PixelBuffer::Planes planes{};
    std::vector<std::size_t> offsets;
    std::size_t total = 0;
    for (std::size_t i = 0; i < (isPlanar ? 3U : 1U); ++i) {
        PixelBuffer::Plane& plane = planes[i];
        plane.width = i == 0 ? size.width : (size.width + 1) / 2;
        plane.height = i == 0 ? size.height : (size.height + 1) / 2;
        plane.stride = plane.width * (isPlanar ? 1 : 4) + padding;
        offsets.push_back(total);
        total += std::size_t(plane.stride * (plane.height - 1) + plane.width * (isPlanar ? 1 : 4));
    }
    const std::shared_ptr<std::uint8_t[]> memory(new std::uint8_t[total]);
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        PixelBuffer::Plane& plane = planes[i];
        plane.data = memory.get() + offsets[i];
        if (upward) {
            plane.data += plane.stride * (plane.height - 1);
            plane.stride = -plane.stride;
        }
    }
    return PixelBuffer::wrap(format, size, planes, memory);
}

void fillRandomly(const PixelBuffer& picture, std::mt19937& random) {
    for (int p = 0; p < picture.planeCount(); ++p) {
        const int bytes = picture.plane(p).width * (picture.format() == PixelFormat::bgra8 ? 4 : 1);
        for (int y = 0; y < picture.plane(p).height; ++y) {
            std::generate_n(picture.row(p, y), bytes, [&] {
                const auto value = random();
                return std::uint8_t(value % 5 == 0 ? 0 : value % 5 == 1 ? 255 : value >> 8); // extremes often
            });
        }
    }
}

int greatestDifference(const PixelBuffer& a, const PixelBuffer& b) {
    int greatest = 0;
    for (int p = 0; p < a.planeCount(); ++p) {
        const int bytes = a.plane(p).width * (a.format() == PixelFormat::bgra8 ? 4 : 1);
        for (int y = 0; y < a.plane(p).height; ++y) {
            for (int i = 0; i < bytes; ++i) {
                greatest = std::max(greatest, std::abs(a.row(p, y)[i] - b.row(p, y)[i]));
            }
        }
    }
    return greatest;
}

const std::vector<PixelSize> awkwardSizes = {{1, 1},    {2, 2},    {3, 5},   {17, 4},  {31, 3},
                                             {64, 2},   {65, 7},   {127, 6}, {130, 9}, {513, 11},
                                             {1026, 4}, {1919, 5}, {2050, 3}};

class PixelConversionKernels : public testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
    void TearDown() override { hwy::SetSupportedTargetsForTest(0); }
};

INSTANTIATE_TEST_SUITE_P(Targets, PixelConversionKernels,
                         testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return hwy::TargetName(target.param); });

TEST_P(PixelConversionKernels, EqualTheReferenceWithinOne) {
    std::mt19937 random(1);
    for (const PixelSize size : awkwardSizes) {
        for (const bool upward : {false, true}) {
            SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " upward " << upward);
            const PixelBuffer source = tightPicture(PixelFormat::bgra8, size, 0, upward);
            fillRandomly(source, random);
            const PixelBuffer fast = tightPicture(PixelFormat::i420, size, 3, upward);
            const PixelBuffer plain = tightPicture(PixelFormat::i420, size, 0, false);
            convertBGRXToI420(source, fast, {0, 0, size.width, size.height});
            convertBGRXToI420Reference(source, plain, {0, 0, size.width, size.height});
            EXPECT_LE(greatestDifference(fast, plain), 1);
        }
    }
}

TEST(PixelConversion, ConvertingWhatChangedEqualsConvertingAll) {
    std::mt19937 random(2);
    const PixelSize size = {333, 57};
    const PixelBuffer source = tightPicture(PixelFormat::bgra8, size, 0, false);
    fillRandomly(source, random);
    const PixelBuffer target = tightPicture(PixelFormat::i420, size, 0, false);
    const PixelBuffer whole = tightPicture(PixelFormat::i420, size, 0, false);
    convertBGRXToI420(source, target, {0, 0, size.width, size.height});
    for (int round = 0; round < 200; ++round) {
        const PixelRect area = {int(random() % 340) - 5, int(random() % 60) - 3, int(random() % 90),
                                int(random() % 9)};
        for (int y = std::max(area.y, 0); y < std::min(area.y + area.height, size.height); ++y) {
            for (int x = std::max(area.x, 0); x < std::min(area.x + area.width, size.width); ++x) {
                source.row(0, y)[4 * x + int(random() % 3)] = std::uint8_t(random());
            }
        }
        convertBGRXToI420(source, target, area);
        convertBGRXToI420(source, whole, {0, 0, size.width, size.height});
        ASSERT_EQ(greatestDifference(target, whole), 0) << "round " << round;
    }
}

TEST(PixelConversion, KnownColoursAreThoseOfTheStandard) {
    struct {
        std::uint8_t b, g, r, y, u, v;
    } const cases[] = {
        {0, 0, 0, 16, 128, 128},  {255, 255, 255, 235, 128, 128}, {0, 0, 255, 63, 102, 240},
        {0, 255, 0, 173, 42, 26}, {255, 0, 0, 32, 240, 118},      {128, 128, 128, 126, 128, 128},
    };
    const PixelSize size = {70, 4};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << int(c.b) << " " << int(c.g) << " " << int(c.r));
        const PixelBuffer source = tightPicture(PixelFormat::bgra8, size, 0, false);
        for (int y = 0; y < size.height; ++y) {
            for (int x = 0; x < size.width; ++x) {
                const std::uint8_t pixel[] = {c.b, c.g, c.r, std::uint8_t(x)};
                std::copy_n(pixel, 4, source.row(0, y) + 4 * x);
            }
        }
        const PixelBuffer target = tightPicture(PixelFormat::i420, size, 0, false);
        convertBGRXToI420(source, target, {0, 0, size.width, size.height});
        for (const int x : {0, 33, 69}) {
            EXPECT_EQ(target.row(0, 3)[x], c.y);
            EXPECT_EQ(target.row(1, 1)[x / 2], c.u);
            EXPECT_EQ(target.row(2, 1)[x / 2], c.v);
        }
    }
}

} // namespace
} // namespace tavrin
