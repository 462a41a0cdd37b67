#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Imaging/Kernels.h"

namespace tavrin::imaging {
namespace {

/// Runs the same call with both sets of kernels and compares all that they wrote.
class KernelsTests : public testing::TestWithParam<int> {
protected:
    std::vector<float> randomFloats(std::size_t count, float low, float high) {
        std::uniform_real_distribution<float> values(low, high);
        std::vector<float> result(count);
        for (float& value : result) {
            value = values(generator_);
        }
        return result;
    }

    std::vector<std::uint8_t> randomBytes(std::size_t count) {
        std::vector<std::uint8_t> result(count);
        for (std::uint8_t& value : result) {
            value = std::uint8_t(generator_());
        }
        return result;
    }

    static void expectNear(const std::vector<float>& plain, const std::vector<float>& vector,
                           float tolerance) {
        for (std::size_t i = 0; i < plain.size(); ++i) {
            ASSERT_NEAR(plain[i], vector[i], tolerance) << "at " << i;
        }
    }

    template <typename Call>
    void compare(std::size_t size, float tolerance, const Call& call) {
        const std::vector<float> start = randomFloats(size, 0, 255);
        std::vector<float> plain = start;
        std::vector<float> vector = start;
        call(plainKernels(), plain.data());
        call(vectorKernels(), vector.data());
        expectNear(plain, vector, tolerance);
    }

    std::mt19937 generator_{7};
};

TEST_P(KernelsTests, vectorisedEqualsPlain) {
    const int columns = GetParam();
    const int rows = 9;
    const std::ptrdiff_t stride = columns + 3; // what lies behind a row must stay as it is
    const auto size = std::size_t(stride * (rows + 8));
    const auto bytes = randomBytes(size);
    const auto floats = randomFloats(size, 0, 255);
    const auto fractions = randomFloats(size, 0, 1);

    compare(size, 0,
            [&](const Kernels& k, float* out) { k.widen(bytes.data(), stride, rows, columns, out, stride); });
    compare(size, 0.01F, [&](const Kernels& k, float* out) {
        k.addBytes(out, stride, bytes.data(), stride, rows, columns, 0.3F);
        k.addFloats(out, stride, floats.data(), stride, rows, columns, 0.7F);
    });
    for (const int taps : {1, 3, 4, 5, 8}) {
        const auto weights = randomFloats(std::size_t(rows * taps), -0.2F, 0.6F);
        const std::vector<int> start{7, 8, 9, 9, 10, 11, 13, 12, 8};
        compare(size, 0.01F, [&](const Kernels& k, float* out) {
            k.combineRows(floats.data(), stride, start.data(), 7, weights.data(), taps, rows, columns, out,
                          stride);
        });
    }
    const auto turnedSize = std::size_t((rows + 3) * columns);
    compare(turnedSize, 0, [&](const Kernels& k, float* out) {
        k.transpose(floats.data(), stride, rows, columns, out, rows + 3);
    });
    compare(size, 0.01F, [&](const Kernels& k, float* out) {
        k.blendCover(out, floats.data(), fractions.data(), columns);
    });
    compare(size, 0.01F, [&](const Kernels& k, float* out) {
        k.blendAlpha(out, floats.data(), fractions.data(), fractions.data() + stride, columns);
    });
    compare(size, 0.001F, [&](const Kernels& k, float* out) {
        k.radialRamp(floats.data(), 100, 30, 20, 0.01F, columns, out);
    });
    compare(size, 0.01F,
            [&](const Kernels& k, float* out) { k.ramp(fractions.data(), 200, 20, columns, out); });
}

TEST_P(KernelsTests, narrowRoundsAndHolds) {
    const int columns = GetParam();
    const auto values = randomFloats(std::size_t(columns), -40, 300);
    std::vector<std::uint8_t> plain(std::size_t(columns) + 1, 77);
    std::vector<std::uint8_t> vector = plain;
    plainKernels().narrow(values.data(), columns, plain.data());
    vectorKernels().narrow(values.data(), columns, vector.data());
    EXPECT_EQ(plain, vector);
    EXPECT_EQ(vector.back(), 77);
}

INSTANTIATE_TEST_SUITE_P(Widths, KernelsTests, testing::Values(1, 3, 4, 7, 8, 15, 16, 17, 33, 64, 131));

} // namespace
} // namespace tavrin::imaging
