#include <algorithm>
#include <limits>
#include <random>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/TemporalFrameSampler.h"
#include "TavrinKit/Compositing/TemporalLRUCache.h"
#include "TestMovies.h"

namespace tavrin {
namespace {

using Quantizer = TemporalFrameQuantizer;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(TemporalFrameQuantizer, KeysAreTheNearestFrameWithinTheMovie) {
    const Quantizer ten = {.durationSeconds = 2, .frameStep = 0.125};
    const Quantizer endless = {.durationSeconds = 0, .frameStep = 0.125};
    const struct {
        const Quantizer& quantizer;
        double time;
        std::int64_t key;
    } cases[] = {{ten, 0.0625, 1}, {ten, 0.1875, 2}, {ten, 0.3125, 3},       {ten, 0.06, 0},
                 {ten, -3, 0},     {ten, 7, 16},     {ten, infinity, 16},    {ten, nan, 0},
                 {endless, 7, 56}, {endless, -1, 0}, {endless, -infinity, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.quantizer.key(c.time), c.key) << c.time;
    }
    EXPECT_GT(endless.key(infinity), 1'000'000'000'000);
}

TEST(TemporalFrameQuantizer, SamplesLieInsideTheFrameAndTheMovie) {
    const struct {
        double duration;
        std::int64_t key;
        double time;
    } cases[] = {{2, 0, 0.03125},  {2, 3, 0.40625},    {2, 15, 1.90625}, {2, 16, 1.96875}, {2, 400, 1.96875},
                 {2, -5, 0.03125}, {0, 400, 50.03125}, {0, -5, 0},       {0.04, 0, 0.02},  {0.04, 1, 0.02}};
    for (const auto& c : cases) {
        const Quantizer quantizer = {
            .durationSeconds = c.duration, .frameStep = 0.125, .sampleOffset = 0.03125};
        EXPECT_NEAR(quantizer.sampleTime(c.key), c.time, 1e-12) << c.duration << " " << c.key;
    }
    for (const auto& [rate, steps] : {std::pair{30.0, 30.0}, {1000.0, 240.0}, {0.5, 60.0}, {nan, 60.0}}) {
        EXPECT_DOUBLE_EQ(Quantizer::make(1, rate).frameStep, 1 / steps);
        EXPECT_DOUBLE_EQ(Quantizer::make(1, rate).sampleOffset, 0.25 / steps);
    }
    EXPECT_EQ(Quantizer::make(infinity, 60).durationSeconds, 0);
}

TEST(TemporalLRUCache, TheLeastRecentlyUsedGoesFirst) {
    TemporalLRUCache<int, char> cache(3);
    cache.insert('a', 1);
    cache.insert('b', 2);
    cache.insert('c', 3);
    cache.touch(1);
    cache.touch(9);
    cache.insert('B', 2); // a second time is a use too, and no second entry
    cache.insert('d', 4);
    EXPECT_EQ(cache.find(3), nullptr);
    ASSERT_NE(cache.find(1), nullptr);
    cache.insert('e', 5);
    EXPECT_EQ(cache.find(1), nullptr);
    EXPECT_EQ(*cache.find(2), 'B');
    EXPECT_EQ(cache.entries().size(), 3U);
}

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

TEST_F(Sampling, WhatIsKeptIsBoundedByNumberAndBySize) {
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

    const auto huge = [](int i) {
        return test::greyPicture(i, {4096, 2304});
    };
    const MediaAsset large = test::movieOf(huge, folder_, test::evenTimes(22, 30), 1);
    const TemporalFrameSampler bounded(large, {Quantizer::make(large.duration(), 30), true});
    images.clear();
    for (int tick = 0; tick < 22; ++tick) {
        images.push_back(bounded.sample(tick / 30.0)->image.node());
    }
    EXPECT_EQ(alive(images), 17); // seven would fill the bytes, but a frame may need more
}

TEST_F(Sampling, WhatCannotBeReadIsLoggedOnce) {
    const MediaAsset asset = movie(test::evenTimes(5, 30), 1);
    std::filesystem::remove(asset.path());
    const TemporalFrameSampler sampler(asset, {Quantizer::make(asset.duration(), 60), false});
    testing::internal::CaptureStderr();
    EXPECT_FALSE(sampler.sample(0));
    EXPECT_FALSE(sampler.sample(0.5));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    EXPECT_NE(log.find("TemporalFrameSampler.sample.copyCGImage"), std::string::npos) << log;
}

} // namespace
} // namespace tavrin
