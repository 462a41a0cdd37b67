#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MovieFixtures.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace fixtures;
using testing::ElementsAre;
using testing::IsEmpty;

/// Amplitude of the 1 kHz tone with the phase that it has when nothing was shifted.
double tonePart(const std::vector<float>& sound, double from, double to) {
    double sum = 0;
    for (auto i = std::lround(from * 48000); i < std::lround(to * 48000); ++i) {
        sum += double(sound[std::size_t(i)]) * std::sin(double(i) * 2 * 3.14159265358979 / 48);
    }
    return 2 * sum / ((to - from) * 48000);
}

double loudest(const std::vector<float>& sound, double from, double to) {
    double most = 0;
    for (auto i = std::lround(from * 48000); i < std::lround(to * 48000); ++i) {
        most = std::max(most, std::abs(double(sound[std::size_t(i)])));
    }
    return most;
}

std::vector<double> unevenTimes() {
    std::vector<double> times;
    for (int i = 0; i < 90; ++i) {
        times.push_back(i / 30.0 + (i % 7) * 0.0013577 + (i > 40 ? 0.7 : 0));
    }
    return times;
}

/// Container, constant rate, crash-safe, index first.
using Form = std::tuple<const char*, bool, bool, bool>;
class MovieForms : public testing::TestWithParam<Form> {};

INSTANTIATE_TEST_SUITE_P(All, MovieForms,
                         testing::Combine(testing::Values("movie.mp4", "movie.mov"), testing::Bool(),
                                          testing::Bool(), testing::Bool()));

TEST_P(MovieForms, KeepPicturesTimesSoundAndTags) {
    const auto& [name, isConstant, isCrashSafe, isIndexFirst] = GetParam();
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / name);
    settings.video->effort = EncoderEffort::superfast;
    settings.crashSafe = isCrashSafe;
    settings.optimizeForNetworkUse = isIndexFirst;
    settings.audio = AudioTrackSettings{};
    if (isConstant) {
        settings.video->frameRate = 30;
    }
    writeFileAtomically(settings.path, "an older file");
    if (isCrashSafe) {
        EXPECT_THROW(MovieWriter{settings}, FileError);
        removeFile(settings.path);
    }
    const std::vector<double> times = isConstant ? evenTimes(90, 30) : unevenTimes();
    const double end = isConstant ? 3 : 4.25;

    MovieWriter writer(settings);
    for (std::size_t i = 0; i < times.size(); ++i) {
        writer.appendAudio(tone(double(i) / 30, 1.0 / 30, 2), double(i) / 30);
        writer.appendVideo(numbered(settings.video->size, int(i)), times[i]);
        if (i % 25 == 24 && isCrashSafe) {
            writer.flushFragment();
        }
    }
    EXPECT_EQ(readFile(settings.path) == "an older file", !isCrashSafe);
    writer.finish(end);
    EXPECT_EQ(writer.videoFrameCount(), 90);
    EXPECT_THAT(folder.names(), ElementsAre(name));

    VideoReader reader(settings.path);
    const std::vector<Seen> seen = readAll(reader);
    ASSERT_EQ(seen.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(seen[i].time, times[i], isConstant ? 1e-9 : 0.51e-6) << i;
        EXPECT_EQ(seen[i].number, int(i));
    }
    const std::vector<float> sound = readSound(settings.path, 48000, 2);
    ASSERT_EQ(sound.size(), 2U * 3 * 48000);
    std::vector<float> left;
    for (std::size_t i = 0; i < sound.size(); i += 2) {
        left.push_back(sound[i]);
    }
    EXPECT_NEAR(tonePart(left, 0.02, 2.98), 0.5, 0.01);

    const Json facts = probe(settings.path);
    const Json& video = facts["streams"][0];
    EXPECT_EQ(video["codec_name"], "h264");
    EXPECT_EQ(video["profile"], "High");
    EXPECT_EQ(video["sample_aspect_ratio"], "1:1");
    EXPECT_EQ(video["has_b_frames"], 0);
    EXPECT_EQ(video["nb_frames"], "90");
    for (const char* tag : {"color_space", "color_transfer", "color_primaries"}) {
        EXPECT_EQ(video[tag], "bt709") << tag;
    }
    EXPECT_EQ(video["color_range"], "tv");
    EXPECT_NEAR(std::stod(video["duration"].get<std::string>()), end, 1e-5);
    EXPECT_EQ(std::stod(video["start_time"].get<std::string>()), 0);
    EXPECT_EQ(std::stod(facts["streams"][1]["start_time"].get<std::string>()), 0);
    if (isConstant) {
        EXPECT_EQ(video["r_frame_rate"], "30/1");
        EXPECT_EQ(video["avg_frame_rate"], "30/1");
    }
    const std::string bytes = readFile(settings.path);
    EXPECT_EQ(bytes.find("moof"), std::string::npos);
    EXPECT_EQ(bytes.find("moov") < bytes.find("mdat"), isIndexFirst);
    EXPECT_NE(bytes.find("colr"), std::string::npos);
}

TEST(MovieWriter, TracksThatStartLateKeepTheirPlace) {
    for (const bool isCrashSafe : {false, true}) {
        SCOPED_TRACE(isCrashSafe);
        const TemporaryFolder folder;
        MovieWriterSettings settings = smallMovie(folder / "late.mov");
        settings.crashSafe = isCrashSafe;
        settings.audio = AudioTrackSettings{48000, 1, 96000};
        MovieWriter writer(settings);
        for (int i = 0; i < 10; ++i) {
            writer.appendVideo(numbered({128, 96}, i), 0.5 + i * 0.1);
        }
        if (isCrashSafe) {
            writer.flushFragment(); // before any sound has come
        }
        writer.appendAudio(tone(0.75, 0.75, 1), 0.75);
        writer.finish(1.5);

        VideoReader reader(settings.path);
        const std::vector<Seen> seen = readAll(reader);
        ASSERT_EQ(seen.size(), 10U);
        EXPECT_NEAR(seen.front().time, 0.5, 1e-6);
        EXPECT_NEAR(seen.back().time, 1.4, 1e-6);
        EXPECT_NEAR(reader.info().duration, 1.5, 1e-3);
        const std::vector<float> sound = readSound(settings.path, 48000, 1);
        ASSERT_EQ(sound.size(), 72000U);
        EXPECT_LT(loudest(sound, 0, 0.72), 0.05);
        EXPECT_NEAR(tonePart(sound, 0.78, 1.48), 0.5, 0.01);
    }
}

TEST(MovieWriter, GapsBecomeSilenceOverlapsAreDroppedAndJitterIsIgnored) {
    const TemporaryFolder folder;
    MovieWriterSettings settings;
    settings.path = folder / "sound.m4a";
    settings.audio = AudioTrackSettings{48000, 1, 128000};
    MovieWriter writer(settings);
    writer.appendAudio(tone(-0.5, 1, 1), -0.5);   // its first half lies before the movie
    writer.appendAudio(tone(0.5, 0.5, 1), 0.504); // jitter
    writer.appendAudio(tone(2.0, 1.0, 1), 2.0);   // after a second of silence
    writer.appendAudio(tone(2.5, 1.0, 1), 2.5);   // overlaps by half
    std::vector<float> broken = tone(3.5, 0.5, 1);
    broken[1000] = std::numeric_limits<float>::quiet_NaN();
    broken[2000] = std::numeric_limits<float>::infinity();
    writer.appendAudio(broken, 3.5);
    EXPECT_EQ(mediaErrorOf([&] { writer.appendAudio(tone(1, 1, 1), 1); }), MediaErrorKind::outOfOrder);
    EXPECT_EQ(mediaErrorOf([&] { writer.appendAudio(tone(0, 1, 1), 1e9); }), MediaErrorKind::outOfOrder);
    EXPECT_EQ(mediaErrorOf([&] { writer.appendAudio(tone(0, 1, 1), std::nan("")); }),
              MediaErrorKind::outOfOrder);
    writer.finish();

    const std::vector<float> sound = readSound(settings.path, 48000, 1);
    ASSERT_EQ(sound.size(), 4U * 48000);
    EXPECT_NEAR(tonePart(sound, 0.02, 0.98), 0.5, 0.01);
    EXPECT_LT(loudest(sound, 1.05, 1.95), 0.05);
    EXPECT_NEAR(tonePart(sound, 2.05, 3.48), 0.5, 0.01);
    EXPECT_NEAR(tonePart(sound, 3.48, 3.98), 0.5, 0.02);
    EXPECT_TRUE(std::ranges::all_of(sound, [](float sample) { return std::isfinite(sample); }));
    EXPECT_EQ(readSound(settings.path, 44100, 2).size(), 2U * 4 * 44100);
}

TEST(MovieWriter, TheLastPictureStaysAndPausesHaveNoLimit) {
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / (std::string(250, 'p') + ".mov")); // nor have names
    writeNumbered(settings, {0, 4000.25}, 9000.5);
    EXPECT_NEAR(probeMedia(settings.path).duration, 9000.5, 1e-3);
    VideoFollower follower(std::make_unique<VideoReader>(settings.path));
    for (const auto& [time, number] : {std::pair{3999.0, 0}, {4000.0, 0}, {4000.25, 1}, {8999.0, 1}}) {
        EXPECT_EQ(numberIn(follower.frame(time)->pixels), number) << time;
    }
}

TEST(MovieWriter, HoldsTheProfileTheRateAndTheKeyFrameInterval) {
    const TemporaryFolder folder;
    for (const auto& [profile, name] : {std::pair{VideoProfile::h264Baseline, "Constrained Baseline"},
                                        {VideoProfile::h264Main, "Main"},
                                        {VideoProfile::h264High, "High"}}) {
        MovieWriterSettings settings = smallMovie(folder / "rate.mp4");
        settings.video->size = {320, 240};
        settings.video->effort = EncoderEffort::veryfast;
        settings.video->profile = profile;
        settings.video->frameRate = 30;
        settings.video->averageBitRate = 300'000;
        settings.video->maximumKeyFrameInterval = 45;
        MovieWriter writer(settings);
        std::mt19937 random(9);
        for (int i = 0; i < 180; ++i) {
            const PixelBuffer noise = numbered(settings.video->size, 0x5a5);
            for (int y = i % 120; y < 240; y += 120) { // too little change for a new scene
                std::generate_n(noise.row(0, y), 320, [&] { return std::uint8_t(random() % 128 + 64); });
            }
            writer.appendVideo(noise, i / 30.0);
        }
        writer.finish();
        EXPECT_EQ(probe(settings.path)["streams"][0]["profile"], name);
        EXPECT_NEAR(double(std::filesystem::file_size(settings.path)) * 8 / 6, 0.3e6, 0.06e6);
        const std::string flags = run("ffprobe -v error -show_entries packet=flags -of csv=p=0 '" +
                                      settings.path.string() + "' | grep -n K | cut -d: -f1 | tr '\\n' ' '");
        EXPECT_EQ(flags, "1 46 91 136 ") << name;
    }
}

TEST(MovieWriter, RefusesWhatItCannotEncodeAndLeavesNoFile) {
    const TemporaryFolder folder;
    const std::vector<std::pair<const char*, std::function<void(MovieWriterSettings&)>>> cases = {
        {"odd width",
         [](auto& s) {
             s.video->size = {127, 96};
         }},
        {"odd height",
         [](auto& s) {
             s.video->size = {128, 95};
         }},
        {"nothing",
         [](auto& s) {
             s.video->size = {0, 0};
         }},
        {"enormous",
         [](auto& s) {
             s.video->size = {32768, 32768};
         }},
        {"profile of another codec",
         [](auto& s) {
             s.video->profile = VideoProfile::hevcMain;
         }},
        {"no rate",
         [](auto& s) {
             s.video->frameRate = 0;
         }},
        {"no channels",
         [](auto& s) {
             s.audio = AudioTrackSettings{48000, 0, 128000};
         }},
        {"a rate that AAC does not have",
         [](auto& s) {
             s.audio = AudioTrackSettings{12345, 2, 128000};
         }},
        {"no track",
         [](auto& s) {
             s.video.reset();
         }},
    };
    for (const auto& [name, change] : cases) {
        MovieWriterSettings settings = smallMovie(folder / "refused.mp4");
        change(settings);
        EXPECT_EQ(mediaErrorOf([&] { MovieWriter writer(settings); }), MediaErrorKind::encoderRefused)
            << name;
    }
    EXPECT_THROW(MovieWriter(smallMovie(folder / "missing/movie.mp4")), FileError);
    EXPECT_THROW(MovieWriter(smallMovie(folder / ".")), FileError);
    EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(MovieWriter, TimesMustIncrease) {
    const TemporaryFolder folder;
    for (const bool isConstant : {false, true}) {
        MovieWriterSettings settings = smallMovie(folder / "order.mp4");
        if (isConstant) {
            settings.video->frameRate = 10;
        }
        MovieWriter writer(settings);
        const PixelBuffer picture = numbered({128, 96}, 0);
        const auto refuses = [&](double time) {
            return mediaErrorOf([&] { writer.appendVideo(picture, time); }) == MediaErrorKind::outOfOrder;
        };
        EXPECT_TRUE(refuses(-0.2));
        EXPECT_TRUE(refuses(std::nan("")));
        EXPECT_TRUE(refuses(std::numeric_limits<double>::infinity()));
        EXPECT_FALSE(refuses(0.5));
        EXPECT_TRUE(refuses(0.5));
        EXPECT_TRUE(refuses(0.4));
        EXPECT_EQ(refuses(0.52), isConstant); // the same place on the grid
        EXPECT_FALSE(refuses(0.6));
        EXPECT_EQ(mediaErrorOf([&] {
                      writer.appendVideo(numbered({64, 64}, 0), 1);
                  }),
                  MediaErrorKind::encodingFailed);
        writer.finish();
        EXPECT_EQ(mediaErrorOf([&] { writer.appendVideo(picture, 2); }), MediaErrorKind::writingFailed);
        VideoReader reader(settings.path);
        EXPECT_EQ(readAll(reader).size(), isConstant ? 2U : 3U);
    }
}

TEST(MovieWriter, PicturesAroundTheEndOfAFragmentKeepTheirTimes) {
    for (const bool isFinished : {false, true}) {
        SCOPED_TRACE(isFinished);
        const TemporaryFolder folder;
        MovieWriterSettings settings = smallMovie(folder / "fragments.mov");
        settings.crashSafe = true;
        settings.video->lowLatency = true;
        MovieWriter writer(settings);
        const std::vector<double> times{0.5, 0.500001, 0.504, 0.6, 0.611, 3, 3.016666, 3.033333};
        for (std::size_t i = 0; i < times.size();
             ++i) { // whoever flushes can't know how long a picture stays
            writer.appendVideo(numbered({128, 96}, int(i)), times[i]);
            writer.flushFragment();
        }
        isFinished ? writer.finish() : writer.abandon();
        VideoReader reader(settings.path);
        const std::vector<Seen> seen = readAll(reader);
        EXPECT_LT(reader.info().nominalFrameRate, 1001);
        ASSERT_EQ(seen.size(), times.size());
        for (std::size_t i = 0; i < times.size(); ++i) {
            EXPECT_NEAR(seen[i].time, times[i], 0.51e-6) << i;
            EXPECT_EQ(seen[i].number, int(i));
        }
    }
}

TEST(MovieWriter, WhatStaysWhenAMovieIsGivenUp) {
    const std::vector<std::tuple<bool, std::function<void(MovieWriter&)>, bool>> cases = {
        {false, [](MovieWriter&) {}, false},
        {true, [](MovieWriter&) {}, false},
        {false, [](MovieWriter& writer) { writer.cancel(); }, false},
        {true, [](MovieWriter& writer) { writer.cancel(); }, false},
        {false, [](MovieWriter& writer) { writer.abandon(); }, false},
        {true, [](MovieWriter& writer) { writer.abandon(); }, true},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        const auto& [isCrashSafe, giveUp, stays] = cases[i];
        const TemporaryFolder folder;
        MovieWriterSettings settings = smallMovie(folder / "movie.mp4");
        settings.crashSafe = isCrashSafe;
        settings.video->lowLatency = true;
        {
            MovieWriter writer(settings);
            for (int k = 0; k < 20; ++k) {
                writer.appendVideo(numbered({128, 96}, k), k * 0.1);
            }
            if (isCrashSafe) {
                writer.flushFragment();
            }
            giveUp(writer);
        }
        EXPECT_EQ(folder.names().size(), stays ? 1U : 0U);
        if (stays) {
            VideoReader reader(settings.path);
            EXPECT_EQ(readAll(reader).size(), 20U);
        }
    }
}

} // namespace
} // namespace tavrin
