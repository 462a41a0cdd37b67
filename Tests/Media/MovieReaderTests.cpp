#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MovieFixtures.h"

namespace tavrin {
namespace {

using namespace test;
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

TEST(VideoReader, SeekingOrFollowingAnywhereGivesWhatReadingThroughGives) {
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
        const auto behind = [&](double time) {
            return std::find_if(all.begin() + 1, all.end(),
                                [&](const Seen& frame) { return frame.time > time + 0.5e-6; });
        };
        VideoFollower follower(std::make_unique<VideoReader>(movie));
        for (double time = -0.5; time < all.back().time + 1; time += 1.0 / 60) {
            ASSERT_EQ(follower.frame(time).value().index, (behind(time) - 1)->index) << time;
        }
        std::vector<double> times = {
            -1, 0, all.front().time, all.back().time, 1e9, std::numeric_limits<double>::infinity()};
        std::mt19937 random(4);
        for (int i = 0; i < 40; ++i) {
            const Seen& frame = all[random() % all.size()];
            times.push_back(i % 3 == 0 ? frame.time : frame.time + double(int(random() % 200) - 100) * 1e-3);
        }
        for (const double time : times) {
            const Seen& expected = *(behind(time) - 1);
            EXPECT_EQ(numberIn(follower.frame(time).value().pixels), expected.number) << time;
            reader.seek(time);
            const auto shown = reader.next();
            ASSERT_TRUE(shown) << time;
            EXPECT_EQ(numberIn(shown->pixels), expected.number) << time;
            EXPECT_EQ(shown->index, expected.index) << time;
            EXPECT_EQ(shown->time, expected.time) << time;
            const auto following = reader.next();
            ASSERT_EQ(following.has_value(), behind(time) != all.end()) << time;
            if (following) {
                EXPECT_EQ(numberIn(following->pixels), behind(time)->number) << time;
            }
        }
    }
}

TEST(VideoReader, WhateverTheSourceColoursAreRight) {
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / "source.mp4");
    settings.video->constantQuality = 1;
    const int colours[2][3] = {{60, 182, 100}, {173, 90, 110}}; // Y, U and V above and below
    const PixelBuffer picture = flat({128, 96}, colours[0][0], colours[0][1], colours[0][2]);
    for (int plane = 0; plane < 3; ++plane) {
        const auto half = std::size_t(picture.plane(plane).height / 2);
        for (std::size_t y = half; y < 2 * half; ++y) {
            std::fill_n(picture.row(plane, int(y)), picture.plane(plane).width,
                        std::uint8_t(colours[1][plane]));
        }
    }
    MovieWriter writer(settings);
    writer.appendVideo(picture, 0);
    writer.finish(1);

    const std::string in = "ffmpeg -v error -y -i '" + settings.path.string() + "' ";
    const std::string smpte = "-vf scale=out_color_matrix=smpte170m:out_range=";
    const struct {
        std::string arguments;
        int quarter = 0; ///< turns to the right that bring the upper colour to where it shows
    } cases[] = {
        {smpte + "tv,format=yuv420p -colorspace smpte170m -color_range tv -qp 1"},
        {smpte + "pc,format=yuvj420p -colorspace smpte170m -color_range pc -qp 1"},
        {smpte + "tv,format=yuv420p -colorspace unknown -qp 1"}, // BT.601 as it is small
        {"-pix_fmt yuv444p10le -c:v libx265 -x265-params log-level=none:qp=1"},
        {"-c:v ffv1 -pix_fmt bgr0 -f matroska"},
        {"-c copy -metadata:s:v:0 rotate=270", 1},
        {"-c copy -metadata:s:v:0 rotate=180", 2},
        {"-c copy -metadata:s:v:0 rotate=90", 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const fs::path out = folder / "out.mp4";
        run(in + c.arguments + " '" + out.string() + "'");
        VideoReader reader(out);
        const PixelSize size = c.quarter % 2 == 0 ? PixelSize{128, 96} : PixelSize{96, 128};
        EXPECT_EQ(reader.info().displaySize, size);
        const auto frame = reader.next();
        ASSERT_TRUE(frame);
        ASSERT_EQ(frame->pixels.size(), size);
        const std::pair<int, int> places[4] = {{2, 1}, {3, 2}, {2, 3}, {1, 2}}; // in quarters
        for (int patch = 0; patch < 2; ++patch) {
            const auto [x, y] = places[(c.quarter + 2 * patch) % 4];
            for (int plane = 0; plane < 3; ++plane) {
                const PixelBuffer::Plane& shown = frame->pixels.plane(plane);
                EXPECT_NEAR(frame->pixels.row(plane, shown.height * y / 4)[shown.width * x / 4],
                            colours[patch][plane], 3)
                    << "patch " << patch << " plane " << plane;
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
    const std::string movie = "'" + settings.path.string() + "' ";
    run("ffmpeg -v error -i " + movie + "-i " + movie + "-map 0:v -map 0:a -map 1:a -c copy -aspect 8:3 '" +
        (folder / "wide.mov").string() + "'");

    const MediaInfo info = probeMedia(folder / "wide.mov");
    ASSERT_EQ(info.video.size(), 1U);
    ASSERT_EQ(info.audio.size(), 2U);
    EXPECT_EQ(info.video[0].naturalSize, (PixelSize{128, 96}));
    EXPECT_EQ(info.video[0].displaySize, (PixelSize{256, 96}));
    EXPECT_EQ(info.video[0].frameCount, 100);
    EXPECT_NEAR(info.video[0].nominalFrameRate, 50, 1e-6);
    EXPECT_NEAR(info.duration, 2, 1e-3);
    EXPECT_NEAR(info.audio[1].duration, 1, 1e-3);
    EXPECT_EQ(mediaErrorOf([&] { AudioReader(folder / "wide.mov", 2, 48000, 2); }),
              MediaErrorKind::noAudioTrack);
}

} // namespace
} // namespace tavrin
