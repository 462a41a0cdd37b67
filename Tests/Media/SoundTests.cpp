#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "MovieFixtures.h"
#include "TavrinKit/Media/TimeStretcher.h"

namespace tavrin {
namespace {

using namespace test;

constexpr double tau = 6.283185307179586;

/// A sound that is different at every place: a sweep whose pitch never comes back.
std::vector<float> sweep(double seconds, int rate) {
    std::vector<float> samples;
    for (std::int64_t i = 0; i < std::llround(seconds * rate); ++i) {
        const double t = double(i) / rate;
        samples.push_back(0.5F * float(std::sin(tau * (300 * t + 40 * t * t))));
    }
    return samples;
}

TEST(AudioReader, WhateverTheFormatAndTheRateSoundKeepsItsPlaceAndSeekingChangesNothing) {
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / "late.mov");
    settings.video.reset();
    settings.audio = AudioTrackSettings{48000, 1, 192000};
    MovieWriter writer(settings);
    writer.appendAudio(sweep(12, 48000), 0.4);
    writer.finish();
    std::mt19937 random(7);
    for (const auto& [file, arguments] : {std::pair{"late.mov", ""},
                                          {"rate.m4a", "-ar 44100 -c:a aac -b:a 192k"},
                                          {"pieces.mp4", "-c:a aac -b:a 192k -movflags frag_keyframe+"
                                                         "empty_moov -frag_duration 700000"},
                                          {"blocks.flac", "-ar 44100"},
                                          {"speech.ogg", "-c:a libopus -b:a 160k"}}) {
        const std::filesystem::path path = folder / file;
        if (path != settings.path) {
            run("ffmpeg -v error -i '" + settings.path.string() + "' " + arguments + " '" + path.string() +
                "'");
        }
        const std::vector<float> whole = readSound(path);
        ASSERT_GT(whole.size(), 12U * 48000U);
        const auto startOf = [](const std::vector<float>& sound) {
            return double(std::ranges::find_if(sound, [](float s) { return std::abs(s) > 0.2F; }) -
                          sound.begin());
        };
        for (const auto& [rate, channels] : {std::pair{44100, 2}, {16000, 1}}) {
            SCOPED_TRACE(testing::Message() << file << " " << rate);
            const std::vector<float> sound = readSound(path, rate, channels);
            const double ratio = double(rate) * channels / 48000;
            EXPECT_NEAR(double(sound.size()) / ratio, double(whole.size()), 100);
            EXPECT_NEAR(startOf(sound) / ratio, startOf(whole), 100);
        }
        AudioFollower follower(path, 0, 48000, 1);
        std::vector<float> part(6000);
        std::uniform_int_distribution<std::int64_t> place(-2000, std::int64_t(whole.size()) + 2000);
        for (int i = 0; i < 25; ++i) {
            const std::int64_t start = place(random);
            follower.read(start, part);
            double worst = 0;
            for (std::int64_t k = 0; k < std::int64_t(part.size()); ++k) {
                const std::int64_t at = start + k;
                const float expected =
                    at >= 0 && at < std::int64_t(whole.size()) ? whole[std::size_t(at)] : 0.0F;
                worst = std::max(worst, std::abs(double(part[std::size_t(k)]) - double(expected)));
            }
            // A sample beside its place makes 0.03 and more; lossy decoders keep a little of their past.
            EXPECT_LT(worst, 0.012) << file << " from " << start;
        }
    }
}

TEST(TimeStretcher, AttacksKeepTheirPlaceAndTonesTheirPitch) {
    constexpr double clapEvery = 0.7;
    for (const auto& [rate, speed] : {std::pair{48000, 0.25},
                                      {44100, 0.5},
                                      {48000, 0.75},
                                      {44100, 1.25},
                                      {48000, 1.5},
                                      {44100, 1.75},
                                      {48000, 2.0}}) {
        std::mt19937 random(3);
        std::uniform_real_distribution<float> noise(-0.9F, 0.9F);
        std::vector<float> claps(std::size_t(rate) * 8);
        for (std::size_t i = 0; i < claps.size(); ++i) {
            const double sinceClap = std::fmod(double(i) / rate, clapEvery);
            claps[i] = noise(random) * float(std::exp(-sinceClap / 0.005));
        }
        TimeStretcher stretcher({rate, 1, speed}, [&](std::int64_t frame, std::span<float> out) {
            for (float& sample : out) {
                const bool isInside = frame >= 0 && frame < std::int64_t(claps.size());
                sample = isInside ? claps[std::size_t(frame)] : 0.0F;
                ++frame;
            }
        });
        std::vector<float> out(std::size_t(std::llround(5 / speed * rate)));
        for (std::size_t i = 0; i < out.size(); i += 997) { // any length of run
            stretcher.read(std::span(out).subspan(i, std::min<std::size_t>(997, out.size() - i)));
        }
        for (double clap = 0; clap < 4.8; clap += clapEvery) {
            const double found = attackIn(out, rate, (clap - 0.2) / speed, (clap + 0.2) / speed);
            EXPECT_NEAR(found, clap / speed, 0.006) << "speed " << speed << ", clap at " << clap;
        }
    }

    const std::vector<float> input = tone(0, 5, 1);
    TimeStretcher stretcher({48000, 1, 1.5}, [&](std::int64_t frame, std::span<float> out) {
        for (float& sample : out) {
            sample = input[std::size_t(frame++ + 48000) % input.size()];
        }
    });
    std::vector<float> out(96000);
    stretcher.read(out);
    int rises = 0;
    for (std::size_t i = 24001; i < 72001; ++i) {
        rises += out[i - 1] < 0 && out[i] >= 0 ? 1 : 0;
    }
    EXPECT_NEAR(rises, 1000, 3); // a second of 1 kHz
}

} // namespace
} // namespace tavrin
