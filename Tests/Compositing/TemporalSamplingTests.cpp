#include <algorithm>
#include <cmath>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/TemporalFrameSampler.h"
#include "TestMovies.h"

namespace tavrin {
namespace {

using Quantizer = TemporalFrameQuantizer;

class Sampling : public testing::Test {
protected:
    [[nodiscard]] MediaAsset movie(const std::vector<double>& times, double endTime) const {
        return test::greyMovie(folder_, times, endTime);
    }

    test::TemporaryFolder folder_;
};

/// What was on screen at each step of the grid, asked in any order and from several threads at once, each
/// picture as one and the same image.
TEST_F(Sampling, UnevenPicturesAreSampledAsThoughEveryStepHadOne) {
    const std::vector<double> times{0,    0.053, 0.3,  0.34,
                                    0.36, 1.202, 1.21, 1.9}; // two come just behind a step
    const MediaAsset asset = movie(times, 2.5);
    const TemporalFrameSampler sampler(asset, {Quantizer::make(asset.duration(), 60), true});
    const auto check = [&](unsigned seed) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> anyTime(-0.1, 2.6);
        for (int i = 0; i < 60; ++i) {
            const double time = anyTime(random);
            const auto sample = sampler.sample(time);
            ASSERT_TRUE(sample);
            const auto key = std::clamp<std::int64_t>(std::llround(time * 60), 0, 150);
            EXPECT_EQ(sample->actualFrameKey, key);
            EXPECT_DOUBLE_EQ(sample->actualTimeSeconds, double(key) / 60);
            const double shown = double(key) / 60 + 1e-6;
            const auto next = std::upper_bound(times.begin(), times.end(), shown);
            EXPECT_NEAR(test::numberIn(sample->image), double(next - times.begin()) - 1, 0.4) << time;
        }
    };
    {
        std::vector<std::jthread> threads;
        for (unsigned thread = 0; thread < 3; ++thread) {
            threads.emplace_back([&, thread] { check(thread + 1); });
        }
    }
    const auto still = sampler.sample(0.4);
    for (int tick = 25; tick < 70; ++tick) {
        EXPECT_EQ(sampler.sample(tick / 60.0)->image.node(), still->image.node()) << tick;
    }
}

TEST_F(Sampling, EvenPicturesBringTheirOwnTimes) {
    const MediaAsset asset = movie(test::evenTimes(30, 30), 1);
    const TemporalFrameSampler sampler(asset, {Quantizer::make(asset.duration(), 60), false});
    for (int tick = 59; tick >= 0; --tick) {
        const auto sample = sampler.sample(tick / 60.0);
        ASSERT_TRUE(sample);
        const int picture = tick / 2;
        EXPECT_NEAR(test::numberIn(sample->image), picture, 0.4) << tick;
        EXPECT_NEAR(sample->actualTimeSeconds, picture / 30.0, 1e-5) << tick;
        EXPECT_EQ(sample->actualFrameKey, 2 * picture) << tick;
        EXPECT_EQ(sampler.sample(2 * picture / 60.0)->image.node(), sample->image.node()) << tick;
    }
}

TEST_F(Sampling, WhatIsKeptIsBounded) {
    const auto alive = [](const std::vector<std::weak_ptr<const Image::Node>>& images) {
        return std::count_if(images.begin(), images.end(),
                             [](const auto& image) { return !image.expired(); });
    };
    std::vector<std::weak_ptr<const Image::Node>> images;
    const MediaAsset small = movie(test::evenTimes(50, 30), 5);
    const TemporalFrameSampler sampler(small, {Quantizer::make(small.duration(), 60), true});
    for (int tick = 0; tick < 100; ++tick) {
        images.push_back(sampler.sample(tick / 60.0)->image.node());
    }
    EXPECT_EQ(alive({images.begin(), images.begin() + 36}), 0);
    EXPECT_EQ(alive(images), 64);
}

} // namespace
} // namespace tavrin
