#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MovieFixtures.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace test;
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
    EXPECT_THAT(folder.names(), ElementsAre(name));

    expectNumbered(readAll(settings.path), times);
    const std::vector<float> sound = readSound(settings.path);
    ASSERT_EQ(sound.size(), 3U * 48000);
    EXPECT_NEAR(tonePart(sound, 0.02, 2.98), std::sqrt(0.5), 0.01) << "of two channels";

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
        const std::vector<double> times{0.5, 0.6, 0.9, 1.4};
        MovieWriter writer(settings);
        for (std::size_t i = 0; i < times.size(); ++i) {
            writer.appendVideo(numbered({128, 96}, int(i)), times[i]);
        }
        writer.flushFragment(); // before any sound has come
        writer.appendAudio(tone(0.75, 0.75, 1), 0.75);
        writer.finish(1.5);

        expectNumbered(readAll(settings.path), times);
        EXPECT_NEAR(probeMedia(settings.path).video.at(0).duration, 1.5, 1e-3);
        const std::vector<float> sound = readSound(settings.path);
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

    const std::vector<float> sound = readSound(settings.path);
    ASSERT_EQ(sound.size(), 4U * 48000);
    EXPECT_NEAR(tonePart(sound, 0.02, 0.98), 0.5, 0.01);
    EXPECT_LT(loudest(sound, 1.05, 1.95), 0.05);
    EXPECT_NEAR(tonePart(sound, 2.05, 3.48), 0.5, 0.01);
    EXPECT_NEAR(tonePart(sound, 3.48, 3.98), 0.5, 0.02);
    EXPECT_TRUE(std::ranges::all_of(sound, [](float sample) { return std::isfinite(sample); }));
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

TEST(MovieWriter, RefusesWhatItCannotEncodeAndLeavesNoFile) {
    const TemporaryFolder folder;
    const auto refuses = [&](const MovieWriterSettings& settings) {
        return mediaErrorOf([&] { MovieWriter writer(settings); }) == MediaErrorKind::encoderRefused;
    };
    for (const PixelSize size : {PixelSize{127, 96}, {128, 95}, {0, 0}, {32768, 32768}}) {
        MovieWriterSettings settings = smallMovie(folder / "refused.mp4");
        settings.video->size = size;
        EXPECT_TRUE(refuses(settings)) << size.width << "x" << size.height;
    }
    MovieWriterSettings settings = smallMovie(folder / "refused.mp4");
    settings.video->profile = VideoProfile::hevcMain;
    EXPECT_TRUE(refuses(settings));
    for (const auto& [rate, channels] : {std::pair{48000, 0}, {12345, 2}}) {
        settings = smallMovie(folder / "refused.mp4");
        settings.audio = AudioTrackSettings{rate, channels, 128000};
        EXPECT_TRUE(refuses(settings)) << rate;
    }
    EXPECT_THROW(MovieWriter(smallMovie(folder / "missing/movie.mp4")), FileError);
    EXPECT_THROW(MovieWriter(smallMovie(folder / ".")), FileError);
    EXPECT_THAT(folder.names(), IsEmpty());
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
        for (std::size_t i = 0; i < times.size(); ++i) {
            writer.appendVideo(numbered({128, 96}, int(i)), times[i]);
            writer.flushFragment(); // when nobody knows how long the picture stays
        }
        isFinished ? writer.finish() : writer.abandon();
        expectNumbered(readAll(settings.path), times);
        EXPECT_LT(probeMedia(settings.path).video.at(0).nominalFrameRate, 1001);
    }
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
    const PixelBuffer picture = flat(settings.video->size, 60, 110, 150);
    for (int y = 0; y < 180; ++y) {
        for (int x = 0; x < 320; ++x) { // lines as of text, a slope, strong colours
            picture.row(0, y)[x] = std::uint8_t(x < 160 ? 60 + x / 2 : x / 3 % 4 == 0 ? 20 : 220);
            picture.row(1, y / 2)[x / 2] = std::uint8_t(x / 32 % 2 == 0 ? 90 : 170);
            picture.row(2, y / 2)[x / 2] = std::uint8_t(y / 30 % 2 == 0 ? 100 : 160);
        }
    }
    const std::vector<float> sound = tone(0, 0.2, 2);
    MovieWriter writer(settings);
    writer.appendVideo(picture, 0);
    writer.appendAudio(sound, 0);
    writer.finish(0.2);

    const auto frame = VideoReader(settings.path).next();
    ASSERT_TRUE(frame);
    for (int plane = 0; plane < 3; ++plane) {
        EXPECT_GT(likeness(picture, frame->pixels, plane), 40) << "plane " << plane;
    }
    const std::vector<float> back = readSound(settings.path, 48000, 2);
    ASSERT_EQ(back.size(), sound.size());
    for (std::size_t i = 0; i < back.size(); ++i) {
        ASSERT_NEAR(back[i], sound[i], 1.0 / (1 << 23)) << i;
    }
    const Json video = probe(settings.path)["streams"][0];
    EXPECT_EQ(video["codec_tag_string"], "apcn");
    for (const char* tag : {"color_space", "color_transfer", "color_primaries"}) {
        EXPECT_EQ(video[tag], "bt709") << tag;
    }
    settings.path = folder / "intermediate.mp4";
    settings.container = MovieContainer::mp4;
    EXPECT_EQ(mediaErrorOf([&] { MovieWriter refused(settings); }), MediaErrorKind::encoderRefused);
}

} // namespace
} // namespace tavrin
