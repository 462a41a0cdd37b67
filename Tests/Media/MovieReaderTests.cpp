#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MovieFixtures.h"
#include "TavrinKit/Media/AudioReader.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/VideoFollower.h"
#include "TavrinKit/Media/PixelConversion.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace fixtures;
namespace fs = std::filesystem;

std::vector<double> sparseTimes() {
    std::vector<double> times = {0.2};
    std::mt19937 random(3);
    while (times.size() < 150) {
        times.push_back(times.back() + (random() % 9 == 0 ? 1.3 : 0.016) + double(random() % 1000) * 1e-5);
    }
    return times;
}

/// Movies that are hard to seek in, each with the pictures 0...149 in order.
std::vector<fs::path> awkwardMovies(const TemporaryFolder& folder) {
    MovieWriterSettings settings = smallMovie(folder / "sparse.mov");
    settings.video->maximumKeyFrameInterval = 20;
    writeNumbered(settings, sparseTimes(), 60.0);
    settings.path = folder / "even.mp4";
    settings.video->frameRate = 25;
    settings.video->maximumKeyFrameInterval = 120;
    writeNumbered(settings, evenTimes(150, 25));
    const std::string source = settings.path.string();
    std::vector<fs::path> movies = {folder / "sparse.mov", folder / "even.mp4"};
    const std::string reordered = " -c:v libx264 -crf 10 -g 48 -bf 3 -b_strategy 0 -pix_fmt yuv420p "
                                  "-color_primaries bt709 -colorspace bt709 -color_trc bt709 ";
    for (const char* name : {"reordered.mp4", "reordered.mkv", "reordered.ts", "reordered.avi"}) {
        run("ffmpeg -v error -i '" + source + "'" + reordered + (folder / name).string());
        movies.push_back(folder / name);
    }
    // Starts in the middle of a group of pictures, by an edit list.
    run("ffmpeg -v error -ss 1.4 -i '" + (folder / "reordered.mp4").string() + "' -c copy " +
        (folder / "cut.mp4").string());
    movies.push_back(folder / "cut.mp4");
    return movies;
}

TEST(VideoReader, SeekingAnywhereGivesWhatReadingThroughGives) {
    const TemporaryFolder folder;
    for (const fs::path& movie : awkwardMovies(folder)) {
        SCOPED_TRACE(movie.filename());
        VideoReader reader(movie);
        const std::vector<Seen> all = readAll(reader);
        ASSERT_GE(all.size(), movie.filename() == "cut.mp4" ? 110U : 150U);
        for (std::size_t i = 1; i < all.size(); ++i) {
            ASSERT_GT(all[i].time, all[i - 1].time);
            ASSERT_GT(all[i].index, all[i - 1].index);
            ASSERT_EQ(all[i].number, all[i - 1].number + 1);
        }
        std::vector<double> times = {
            -1, 0, all.front().time, all.back().time, 1e9, std::numeric_limits<double>::infinity()};
        std::mt19937 random(4);
        for (int i = 0; i < 40; ++i) {
            const Seen& frame = all[random() % all.size()];
            times.push_back(i % 3 == 0 ? frame.time : frame.time + double(int(random() % 200) - 100) * 1e-3);
        }
        for (const double time : times) {
            const auto after = std::find_if(all.begin() + 1, all.end(),
                                            [&](const Seen& frame) { return frame.time > time + 0.5e-6; });
            const Seen& expected = *(after - 1);
            reader.seek(time);
            const auto shown = reader.next();
            ASSERT_TRUE(shown) << time;
            EXPECT_EQ(numberIn(shown->pixels), expected.number) << time;
            EXPECT_EQ(shown->index, expected.index) << time;
            EXPECT_EQ(shown->time, expected.time) << time;
            const auto following = reader.next();
            ASSERT_EQ(following.has_value(), after != all.end()) << time;
            if (following) {
                EXPECT_EQ(numberIn(following->pixels), after->number) << time;
            }
        }
    }
}

TEST(VideoFollower, GivesThePictureOnScreenWhateverTheClockDoes) {
    const TemporaryFolder folder;
    const std::vector<double> times = sparseTimes();
    MovieWriterSettings settings = smallMovie(folder / "sparse.mov");
    settings.video->maximumKeyFrameInterval = 10;
    writeNumbered(settings, times, 60.0);
    VideoFollower follower(std::make_unique<VideoReader>(settings.path));
    const auto check = [&](double time) {
        const auto after =
            std::find_if(times.begin() + 1, times.end(), [&](double t) { return t > time + 1e-9; });
        const auto frame = follower.frame(time);
        ASSERT_TRUE(frame);
        ASSERT_EQ(numberIn(frame->pixels), int(after - times.begin()) - 1) << time;
    };
    for (double time = -0.5; time < times.back() + 1; time += 1.0 / 60) {
        check(time);
    }
    std::mt19937 random(5);
    for (int i = 0; i < 60; ++i) { // exactly at changes, back and forth
        check(times[random() % times.size()]);
        check(double(random() % 30'000) * 1e-3 - 1);
    }
}

TEST(VideoReader, WhateverTheSourceColoursAreRight) {
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / "source.mp4");
    settings.video->size = {128, 96};
    settings.video->constantQuality = 1;
    const std::uint8_t colours[2][3] = {{200, 60, 30}, {40, 150, 220}}; // above and below; blue first
    const PixelBuffer drawn = PixelBuffer::allocate(PixelFormat::bgra8, settings.video->size);
    for (int y = 0; y < 96; ++y) {
        for (int x = 0; x < 128; ++x) {
            std::copy_n(colours[y / 48], 3, drawn.row(0, y) + 4 * x);
        }
    }
    const PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, settings.video->size);
    convertBGRXToI420(drawn, picture, {0, 0, 128, 96});
    MovieWriter writer(settings);
    writer.appendVideo(picture, 0);
    writer.finish(1);

    const std::string in = "ffmpeg -v error -y -i '" + settings.path.string() + "' ";
    const std::string smpte = "-vf scale=out_color_matrix=smpte170m:out_range=";
    const struct {
        const char* name;
        std::string arguments;
        PixelSize size;
        int quarter; ///< turns to the right that bring the upper colour to where it shows
    } cases[] = {
        {"same", "-c copy", {128, 96}, 0},
        {"tagged 601", smpte + "tv,format=yuv420p -colorspace smpte170m -color_range tv -qp 1", {128, 96}, 0},
        {"full range",
         smpte + "pc,format=yuvj420p -colorspace smpte170m -color_range pc -qp 1",
         {128, 96},
         0},
        {"untagged is 601 when small", smpte + "tv,format=yuv420p -colorspace unknown -qp 1", {128, 96}, 0},
        {"ten bits 4:4:4",
         "-pix_fmt yuv444p10le -c:v libx265 -x265-params log-level=none:qp=1",
         {128, 96},
         0},
        {"lossless RGB", "-c:v ffv1 -pix_fmt bgr0 -f matroska", {128, 96}, 0},
        {"quarter turn", "-c copy -metadata:s:v:0 rotate=270", {96, 128}, 1},
        {"half turn", "-c copy -metadata:s:v:0 rotate=180", {128, 96}, 2},
        {"three quarters", "-c copy -metadata:s:v:0 rotate=90", {96, 128}, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path out = folder / "out.mp4";
        run(in + c.arguments + " '" + out.string() + "'");
        VideoReader reader(out);
        EXPECT_EQ(reader.info().displaySize, c.size);
        const auto frame = reader.next();
        ASSERT_TRUE(frame);
        ASSERT_EQ(frame->pixels.size(), c.size);
        const PixelBuffer back = PixelBuffer::allocate(PixelFormat::bgra8, c.size);
        convertI420ToBGRA(frame->pixels, back);
        const PixelSize s = c.size;
        const std::pair<int, int> places[4] = {{s.width / 2, s.height / 4},
                                               {s.width * 3 / 4, s.height / 2},
                                               {s.width / 2, s.height * 3 / 4},
                                               {s.width / 4, s.height / 2}};
        for (int patch = 0; patch < 2; ++patch) {
            const auto [x, y] = places[(c.quarter + 2 * patch) % 4];
            for (int k = 0; k < 3; ++k) {
                EXPECT_NEAR(back.row(0, y)[4 * x + k], colours[patch][k], 4) << "patch " << patch << " " << k;
            }
        }
    }
}

TEST(MediaProbe, TellsWhatIsThere) {
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / "movie.mp4");
    settings.video->frameRate = 50;
    settings.audio = AudioTrackSettings{44100, 1, 96000};
    MovieWriter writer(settings);
    writer.appendAudio(std::vector<float>(44100, 0.1F), 0);
    for (int i = 0; i < 100; ++i) {
        writer.appendVideo(numbered({128, 96}, i), i / 50.0);
    }
    writer.finish();
    run("ffmpeg -v error -i '" + settings.path.string() + "' -i '" + settings.path.string() +
        "' -map 0:v -map 0:a -map 1:a -c copy -aspect 8:3 '" + (folder / "wide.mov").string() + "'");

    const MediaInfo info = probeMedia(folder / "wide.mov");
    ASSERT_EQ(info.video.size(), 1U);
    ASSERT_EQ(info.audio.size(), 2U);
    EXPECT_EQ(info.video[0].naturalSize, (PixelSize{128, 96}));
    EXPECT_EQ(info.video[0].displaySize, (PixelSize{256, 96}));
    EXPECT_EQ(info.video[0].frameCount, 100);
    EXPECT_NEAR(info.video[0].nominalFrameRate, 50, 1e-6);
    EXPECT_NEAR(info.duration, 2, 1e-3);
    EXPECT_EQ(info.audio[1].sampleRate, 44100);
    EXPECT_EQ(info.audio[1].channels, 1);
    EXPECT_NEAR(info.audio[1].duration, 1, 1e-3);
    for (const int track : {-1, 2}) {
        EXPECT_EQ(mediaErrorOf([&] { AudioReader(folder / "wide.mov", track, 48000, 2); }),
                  MediaErrorKind::noAudioTrack);
    }
    run("ffmpeg -v error -i '" + settings.path.string() + "' -vn -c copy '" +
        (folder / "sound.m4a").string() + "'");
    EXPECT_EQ(mediaErrorOf([&] { VideoReader(folder / "sound.m4a"); }), MediaErrorKind::noVideoTrack);
}

TEST(AudioReader, OtherRatesAndChannelsKeepLengthAndPlace) {
    const TemporaryFolder folder;
    MovieWriterSettings settings;
    settings.path = folder / "sound.m4a";
    settings.audio = AudioTrackSettings{};
    MovieWriter writer(settings);
    writer.appendAudio(tone(0, 0.5, 2), 0.5); // half a second of silence first
    writer.finish();
    for (const auto& [file, arguments] : {std::pair{"sound.m4a", ""},
                                          {"sound.wav", "-c:a pcm_s16le"},
                                          {"sound.mka", "-c:a libopus"},
                                          {"sound.flac", "-ar 44100 -ac 1"}}) {
        const fs::path path = folder / file;
        if (path != settings.path) {
            run("ffmpeg -v error -i '" + settings.path.string() + "' -t 1 " + arguments + " '" +
                path.string() + "'");
        }
        for (const auto& [rate, channels] : {std::pair{48000, 1}, {44100, 2}, {16000, 1}}) {
            SCOPED_TRACE(testing::Message() << file << " " << rate << " " << channels);
            const std::vector<float> sound = readSound(path, rate, channels);
            ASSERT_NEAR(double(sound.size()) / channels / rate, 1, 0.001);
            const auto first =
                std::find_if(sound.begin(), sound.end(), [](float s) { return std::abs(s) > 0.2F; });
            EXPECT_NEAR(double(first - sound.begin()) / channels / rate, 0.5, 0.003);
        }
    }
}

} // namespace
} // namespace tavrin
