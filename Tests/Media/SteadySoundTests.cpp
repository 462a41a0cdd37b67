#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Media/SteadySound.h"
#include "TavrinKit/Media/SteadySoundMixer.h"
#include "TavrinKit/Media/StreamClock.h"

namespace tavrin::test {
namespace {

/// Two tones a quarter period apart, from which the time can be told at every frame, to half a period.
constexpr double toneFrequency = 10;

/// By how much a frame sounds later than it should, seconds.
double lateness(const float* frame, double time) {
    const double phase = std::atan2(frame[0], frame[1]) / (2 * std::numbers::pi * toneFrequency);
    return -std::remainder(phase - time, 1 / toneFrequency);
}

double levelOf(const float* frame) {
    return std::hypot(frame[0], frame[1]);
}

/// A device with a clock of its own, heard through measurements that jitter. A low rate makes hours short.
struct Device {
    double rate = 2000;
    double skew = 0;       ///< seconds it takes longer for a second
    double jitter = 0.004; ///< seconds of the measurements
    double start = 1.7e9;  ///< host clock
    std::mt19937 random{1};
    StreamClock clock{rate};
    std::int64_t frame = 0;
    double lost = 0; ///< seconds during which the device stood still

    [[nodiscard]] double timeOf(double at) const { return start + lost + at / rate * (1 + skew); }

    void measure() {
        // The middle of question and answer is off by at most half of the time between them.
        const double roundTrip = std::exponential_distribution(1 / jitter)(random);
        const double error = roundTrip * std::uniform_real_distribution(-0.5, 0.5)(random);
        clock.measure(double(frame), timeOf(double(frame)) + error, roundTrip / 2);
    }

    std::vector<float> block(std::int64_t frames) {
        std::vector<float> sound;
        for (std::int64_t i = 0; i < frames; ++i, ++frame) {
            const double angle = 2 * std::numbers::pi * toneFrequency * (timeOf(double(frame)) - start);
            sound.insert(sound.end(), {float(std::sin(angle)), float(std::cos(angle))});
        }
        return sound;
    }
};

SteadySound::Settings settingsFor(const Device& device) {
    SteadySound::Settings settings;
    settings.sampleRate = int(device.rate);
    return settings;
}

TEST(SteadySoundTests, aSkewedClockIsFollowedForAnHourWithoutAStep) {
    for (const double skew : {200e-6, -200e-6}) {
        Device device;
        device.skew = skew;
        SteadySound sound(settingsFor(device), device.start);
        double worst = 0;
        double worstAtFirst = 0;
        std::vector<float> out;
        while (!device.clock.isSettled()) {
            device.measure();
        }
        for (std::int64_t block = 0; block < 3600 * 10; ++block) {
            device.measure();
            const double time = device.clock.timeOf(double(device.frame));
            sound.append(device.block(200), time);
            const std::int64_t first = sound.position();
            out.assign(std::size_t(sound.available() - first) * 2, 0.0F);
            sound.addTo(out);
            if (block < 2 || out.empty()) {
                continue;
            }
            const double now = lateness(&out[0], double(first) / device.rate);
            (block < 100 ? worstAtFirst : worst) =
                std::max(block < 100 ? worstAtFirst : worst, std::abs(now));
        }
        EXPECT_LT(worst, 0.002);
        EXPECT_LT(worstAtFirst, 0.005);
        EXPECT_NEAR(double(sound.position()) / device.rate, 3600 * (1 + skew), 0.1);
    }
}

TEST(SteadySoundTests, aPauseIsSilenceOfItsLengthAndALateBlockIsLeftOut) {
    for (const double pause : {0.030, 0.5, 7.25}) {
        Device device;
        device.skew = 100e-6;
        device.jitter = 0.001;
        SteadySound sound(settingsFor(device), device.start);
        std::vector<float> out;
        const auto play = [&](int blocks) {
            for (int i = 0; i < blocks; ++i) {
                device.measure();
                const double time = device.clock.timeOf(double(device.frame));
                sound.append(device.block(40), time);
            }
        };
        play(1000);
        const double pauseStart = device.timeOf(double(device.frame)) - device.start;
        device.lost += pause;
        device.clock.forgetTime();
        play(1000);
        out.assign(std::size_t(sound.available()) * 2, 0.0F);
        sound.addTo(out);

        std::int64_t silent = 0;
        double worst = 0;
        for (std::size_t frame = 100; frame + 100 < out.size() / 2; ++frame) {
            const double time = double(frame) / device.rate;
            const bool isInPause = time > pauseStart - 0.01 && time < pauseStart + pause + 0.01;
            silent += int(levelOf(&out[frame * 2]) < 0.3);
            if (!isInPause) {
                worst = std::max(worst, std::abs(lateness(&out[frame * 2], time)));
            }
        }
        EXPECT_NEAR(double(silent) / device.rate, pause, 0.005);
        EXPECT_LT(worst, 0.005) << pause;

        // Sound that comes when its time is over doesn't move what follows.
        const double end = double(sound.position()) / device.rate;
        out.assign(std::size_t(device.rate) * 2, 0.0F);
        sound.addTo(out);
        play(int(device.rate / 20) + 100);
        out.assign(std::size_t(device.rate / 2) * 2, 0.0F);
        sound.addTo(out);
        EXPECT_LT(std::abs(lateness(&out[800], end + 1 + 400 / device.rate)), 0.005);
    }
}

TEST(SteadySoundTests, anUnheraldedJumpOfTheClockIsFollowed) {
    Device device;
    device.jitter = 0.001;
    for (int i = 0; i < 100; ++i) {
        device.measure();
        (void)device.block(200);
    }
    device.lost += 0.2; // an overrun that nobody tells of
    for (int i = 0; i < 5; ++i) {
        device.measure();
        (void)device.block(200);
    }
    for (const double ahead : {0.0, 10'000.0}) { // nor is it taken for a device that runs slow
        const double frame = double(device.frame) + ahead;
        EXPECT_NEAR(device.clock.timeOf(frame), device.timeOf(frame), 0.0025);
    }
}

TEST(SteadySoundMixerTests, lanesComeAndGoInOneUnbrokenRun) {
    SteadySound::Settings settings;
    settings.sampleRate = 1000;
    settings.channels = 1;
    std::vector<float> run;
    SteadySoundMixer mixer(settings, 50, [&](const std::vector<float>& piece, double time) {
        EXPECT_NEAR(time, 50 + double(run.size()) / 1000, 1e-6);
        run.insert(run.end(), piece.begin(), piece.end());
    });
    const std::vector<float> second(1000, 0.25F);
    const auto steady = mixer.addLane();
    const auto mute = mixer.addLane();
    mixer.append(steady, second, 50);
    mixer.deliver(51, 0.65);
    EXPECT_EQ(run.size(), 300); // the mute lane is waited for
    mixer.append(mute, second, 50.5);
    mixer.deliver(51, 0.7);
    EXPECT_EQ(run.size(), 900); // whole pieces, and what the resampler has seen on both sides
    mixer.closeLane(mute);
    mixer.append(mute, second, 51.5);
    mixer.append(steady, second, 51);
    EXPECT_TRUE(mixer.isAvailable(51.9));
    EXPECT_FALSE(mixer.isAvailable(52));
    mixer.deliverAll(52.25);
    ASSERT_EQ(run.size(), 2250);
    const std::vector<std::pair<std::size_t, float>> levels{
        {250, 0.25F}, {450, 0.25F}, {550, 0.5F}, {1450, 0.5F}, {1550, 0.25F}, {1950, 0.25F}, {2050, 0.0F}};
    for (const auto& [frame, level] : levels) {
        EXPECT_NEAR(run[frame], level, 0.01) << frame;
    }
}

} // namespace
} // namespace tavrin::test
