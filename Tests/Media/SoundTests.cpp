#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "MovieFixtures.h"
#include "TavrinKit/Media/TimeStretcher.h"

namespace tavrin {
namespace {

using namespace fixtures;
namespace fs = std::filesystem;

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

TEST(AudioReader, SeekingGivesWhatReadingThroughGives) {
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
                                          {"plain.wav", "-c:a pcm_s16le"},
                                          {"blocks.flac", "-ar 44100"},
                                          {"speech.ogg", "-c:a libopus -b:a 160k"}}) {
        const fs::path path = folder / file;
        if (path != settings.path) {
            run("ffmpeg -v error -i '" + settings.path.string() + "' " + arguments + " '" + path.string() +
                "'");
        }
        const std::vector<float> whole = readSound(path, 48000, 1);
        ASSERT_GT(whole.size(), 12U * 48000U);
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

TEST(AudioReader, AbsurdHeadsAreAnError) {
    const TemporaryFolder folder;
    const auto write = [&](std::uint32_t rate, std::uint16_t channels, std::uint32_t dataSize) {
        std::string bytes = "RIFF....WAVEfmt ";
        const auto put = [&](std::uint32_t value, int count) {
            for (int i = 0; i < count; ++i) {
                bytes.push_back(char(value >> (8 * i)));
            }
        };
        put(16, 4);
        put(1, 2);
        put(channels, 2);
        put(rate, 4);
        put(rate * channels * 2, 4);
        put(std::uint32_t(channels) * 2, 2);
        put(16, 2);
        bytes += "data";
        put(dataSize, 4);
        bytes += std::string(20000, 'a');
        std::ofstream(folder / "absurd.wav", std::ios::binary) << bytes;
    };
    for (const std::uint32_t rate : {0U, 1U, 8000U, 2147483647U, 4294967295U}) {
        for (const std::uint16_t channels : {0, 1, 65535}) {
            for (const std::uint32_t dataSize : {0U, 20000U, 4294967295U}) {
                write(rate, channels, dataSize);
                const auto kind = mediaErrorOf([&] {
                    static_cast<void>(probeMedia(folder / "absurd.wav"));
                    AudioFollower follower(folder / "absurd.wav", 0, 48000, 2);
                    std::vector<float> sound(20000);
                    for (const std::int64_t place : {std::int64_t(0), std::int64_t(100'000), INT64_MAX / 2}) {
                        follower.read(place, sound);
                    }
                });
                EXPECT_EQ(kind.has_value(), rate != 8000 || channels != 1) << rate << " Hz, " << channels;
            }
        }
    }
}

/// Where the sound first comes near its loudest, in seconds, within a window.
double attackIn(const std::vector<float>& sound, int rate, double from, double to) {
    const auto clampedIndex = [&](double t) {
        return std::clamp<std::int64_t>(std::llround(t * rate), 0, std::int64_t(sound.size()));
    };
    float loudest = 0;
    for (std::int64_t i = clampedIndex(from); i < clampedIndex(to); ++i) {
        loudest = std::max(loudest, std::abs(sound[std::size_t(i)]));
    }
    std::int64_t i = clampedIndex(from);
    while (i < clampedIndex(to) && std::abs(sound[std::size_t(i)]) < 0.4F * loudest) {
        ++i;
    }
    return double(i) / rate;
}

TEST(TimeStretcher, AttacksKeepTheirPlaceAndTonesTheirPitch) {
    constexpr double clapEvery = 0.7;
    double worst = 0;
    for (const int rate : {48000, 44100}) {
        std::mt19937 random(3);
        std::uniform_real_distribution<float> noise(-0.9F, 0.9F);
        std::vector<float> claps(std::size_t(rate) * 8);
        for (std::size_t i = 0; i < claps.size(); ++i) {
            const double sinceClap = std::fmod(double(i) / rate, clapEvery);
            claps[i] = noise(random) * float(std::exp(-sinceClap / 0.005));
        }
        for (const double speed : {0.25, 0.5, 0.75, 1.25, 1.5, 1.75, 2.0}) {
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
                worst = std::max(worst, std::abs(found - clap / speed));
                EXPECT_NEAR(found, clap / speed, 0.006) << "speed " << speed << ", clap at " << clap;
            }
        }
    }
    RecordProperty("worstMilliseconds", std::to_string(worst * 1000));

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

/// 10 log of the peak's square by the mean square of the difference.
double likeness(const PixelBuffer& a, const PixelBuffer& b, int plane) {
    double sum = 0;
    const PixelBuffer::Plane& p = a.plane(plane);
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            sum += std::pow(double(a.row(plane, y)[x]) - double(b.row(plane, y)[x]), 2);
        }
    }
    return 10 * std::log10(255.0 * 255 * p.width * p.height / std::max(sum, 1e-9));
}

TEST(MovieWriter, AnIntermediateKeepsPicturesAndSound) {
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / "intermediate.mov");
    settings.video->size = {320, 180};
    settings.video->codec = VideoCodec::proRes422;
    settings.video->frameRate = 30;
    settings.audio = AudioTrackSettings{48000, 2, 0, AudioCodec::linearPCM};
    std::vector<PixelBuffer> pictures;
    for (int i = 0; i < 6; ++i) { // windows, lines as of text, a slope, strong colours
        const PixelBuffer picture = flat(settings.video->size, 60, 110, 150);
        for (int y = 0; y < 180; ++y) {
            for (int x = 0; x < 320; ++x) {
                picture.row(0, y)[x] = std::uint8_t(x < 160 ? 60 + x / 2 : (x + i) / 3 % 4 == 0 ? 20 : 220);
                picture.row(1, y / 2)[x / 2] = std::uint8_t(x / 32 % 2 == 0 ? 90 : 170);
                picture.row(2, y / 2)[x / 2] = std::uint8_t(y / 30 % 2 == 0 ? 100 : 160);
            }
        }
        pictures.push_back(picture);
    }
    const std::vector<float> sound = tone(0, 0.2, 2);
    {
        MovieWriter writer(settings);
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            writer.appendVideo(pictures[i], double(i) / 30);
        }
        writer.appendAudio(sound, 0);
        writer.finish();
    }
    VideoReader reader(settings.path);
    for (const PixelBuffer& picture : pictures) {
        const auto frame = reader.next();
        ASSERT_TRUE(frame);
        for (int plane = 0; plane < 3; ++plane) {
            EXPECT_GT(likeness(picture, frame->pixels, plane), 40) << "plane " << plane;
        }
    }
    const std::vector<float> back = readSound(settings.path, 48000, 2);
    ASSERT_EQ(back.size(), sound.size());
    for (std::size_t i = 0; i < back.size(); ++i) {
        ASSERT_NEAR(back[i], sound[i], 1.0 / (1 << 23)) << i;
    }
    const Json streams = probe(settings.path)["streams"];
    EXPECT_EQ(streams[0]["codec_name"], "prores");
    EXPECT_EQ(streams[0]["profile"], "Standard");
    EXPECT_EQ(streams[0]["pix_fmt"], "yuv422p10le");
    EXPECT_EQ(streams[0]["codec_tag_string"], "apcn");
    EXPECT_EQ(streams[0]["color_space"], "bt709");
    EXPECT_EQ(streams[0]["color_transfer"], "bt709");
    EXPECT_EQ(streams[0]["color_primaries"], "bt709");
    EXPECT_EQ(streams[1]["codec_name"], "pcm_s24le");

    settings.path = folder / "intermediate.mp4";
    settings.container = MovieContainer::mp4;
    EXPECT_EQ(mediaErrorOf([&] { MovieWriter writer(settings); }), MediaErrorKind::encoderRefused);
}

} // namespace
} // namespace tavrin
