#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "ExportFixtures.h"
#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Media/VideoReader.h"

namespace tavrin {
namespace {

using namespace test;

/// What is on screen at `time` in a movie whose pictures begin at `times`.
int numberAt(const std::vector<double>& times, double time) {
    const auto next = std::upper_bound(times.begin(), times.end(), time + 1e-9);
    return std::max(int(next - times.begin()) - 1, 0);
}

ExportPreset hevcPreset(int width, int height, double fps) {
    ExportPreset preset = smallPreset(width, height, fps);
    preset.codec = ExportCodec::hevc;
    preset.profile = ExportVideoProfile::hevcMain;
    return preset;
}

/// Exports the source at `rate`, and has `check` compare each frame with the number of the source's picture
/// that was on screen then. No frame is too many or missing.
void exportAndCompare(const SyntheticMovie& source, const ExportRequest& job, double rate,
                      const std::function<void(const PixelBuffer&, int number)>& check) {
    write(source, job.sourceURL);
    const ExportResult result = FFmpegMP4Exporter().exportMovie(job);
    const auto expected = std::int64_t(std::ceil(source.endTime * rate - 1e-6));
    EXPECT_EQ(result.frameCount, expected);
    EXPECT_NEAR(result.durationSeconds, double(expected) / rate, 1e-3);

    VideoReader reader(job.destinationURL);
    EXPECT_EQ(reader.info().naturalSize,
              (PixelSize{job.preset.resolution.width, job.preset.resolution.height}));
    std::int64_t frame = 0;
    for (; const auto picture = reader.next(); ++frame) {
        const double time = double(frame) / rate;
        SCOPED_TRACE(frame);
        ASSERT_NEAR(picture->time, time, 1e-4);
        ASSERT_NO_FATAL_FAILURE(check(picture->pixels, numberAt(source.times, time)));
    }
    EXPECT_EQ(frame, expected);
}

TEST(ExportedMovieTests, EveryFrameShowsWhatWasOnScreenThen) {
    const TemporaryFolder folder;
    SyntheticMovie movie;
    // Twins within one frame, a picture exactly on a frame's time and one just behind it, a long still.
    movie.times = {0, 0.004, 0.1, 0.1166, 0.11668, 0.25, 0.3, 0.301, 0.302, 0.9, 1.5, 1.5167, 1.9};
    for (int i = 0; i < 40; ++i) {
        movie.times.push_back(2 + i / 60.0);
    }
    movie.endTime = 3.01;

    const auto expectNumbers = [&](const ExportRequest& job, double rate) {
        SCOPED_TRACE(rate);
        exportAndCompare(movie, job, rate,
                         [](const PixelBuffer& frame, int number) { ASSERT_EQ(numberIn(frame), number); });
    };
    ExportRequest job = request(folder / "source.mov", folder / "movie");
    expectNumbers(job, 60);
    job.preset = smallPreset(240, 136, 30); // cropped and scaled
    expectNumbers(job, 30);
    job.preset = hevcPreset(160, 120, 25);
    job.preset.container = ExportContainer::mov;
    expectNumbers(job, 25);
    job.preset = smallPreset();
    // At its own rate, and half the size of what is encoded.
    job.videoComposition = VideoComposition{{96, 54}, 50, [](const CompositionRequest& r) {
                                                return r.source.transformed(AffineTransform::scale(0.5, 0.5));
                                            }};
    expectNumbers(job, 50);
}

TEST(ExportedMovieTests, FlatColoursArriveTrue) {
    const TemporaryFolder folder;
    const std::vector<std::array<int, 3>> colours{{16, 128, 128}, {235, 128, 128}, {81, 90, 240},
                                                  {145, 54, 34},  {41, 240, 110},  {128, 100, 160}};
    for (const PixelSize size : {PixelSize{128, 72}, PixelSize{100, 80}}) {
        SyntheticMovie movie;
        movie.size = size;
        movie.times = evenTimes(int(colours.size()), 5);
        movie.endTime = double(colours.size()) / 5;
        movie.picture = [&](int index) {
            const auto& [y, u, v] = colours[std::size_t(index)];
            return flat(size, y, u, v);
        };
        const ExportPreset preset = size.width == 128 ? smallPreset(128, 72, 30) : hevcPreset(128, 72, 30);
        exportAndCompare(movie, request(folder / "source.mov", folder / "movie.mp4", preset), 30,
                         [&](const PixelBuffer& frame, int number) {
                             for (int plane = 0; plane < 3; ++plane) {
                                 const PixelBuffer::Plane& p = frame.plane(plane);
                                 ASSERT_NEAR(frame.row(plane, p.height / 2)[p.width / 2],
                                             colours[std::size_t(number)][std::size_t(plane)], 3)
                                     << "plane " << plane;
                             }
                         });
        EXPECT_EQ(probe(folder / "movie.mp4").at("streams").size(), 1U) << "it is as silent as its source";
    }
}

/// Bursts of a tone, a tenth of a second long, at each whole second and a half.
std::vector<float> bursts(double seconds) {
    std::vector<float> sound(std::size_t(seconds * 48000));
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double time = double(i) / 48000;
        const bool on = std::fmod(time + 0.5, 1.0) < 0.1;
        sound[i] = on ? float(0.5 * std::sin(2 * 3.14159265 * 1000 * time)) : 0;
    }
    return sound;
}

double loudness(const std::vector<float>& sound, double from, double to) {
    double sum = 0;
    const auto end = std::min(std::size_t(to * 48000), sound.size());
    for (auto i = std::size_t(from * 48000); i < end; ++i) {
        sum += double(sound[i]) * sound[i];
    }
    return std::sqrt(sum / std::max(1.0, (to - from) * 48000));
}

TEST(ExportedMovieTests, SoundStaysWithThePicturesAndFollowsTheMix) {
    const TemporaryFolder folder;
    SyntheticMovie movie;
    movie.size = {64, 36};
    movie.times = evenTimes(80, 20);
    movie.endTime = 4;
    movie.sound = bursts(3.3); // ends before the pictures do
    write(movie, folder / "source.mov");

    struct Case {
        const char* name;
        std::optional<AudioMix> mix;
        std::array<double, 3> volumes; // of the bursts at 0.5, 1.5 and 2.5
    };
    const std::vector<Case> cases{
        {"plain", {}, {1, 1, 1}},
        {"muted", AudioMix{{{0, {}}}}, {0, 0, 0}},
        {"faded", AudioMix{{{0.8, {{0, 1.1, 0, 0.8}, {2, 3.1, 0.8, 0}}}}}, {0.4, 0.8, 0.4}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ExportRequest job = request(folder / "source.mov", folder / "movie.mp4", smallPreset(64, 36));
        job.audioMix = c.mix;
        FFmpegMP4Exporter().exportMovie(job);
        const std::vector<float> sound = readSound(folder / "movie.mp4");
        ASSERT_GE(sound.size(), 3.2 * 48000);
        for (std::size_t burst = 0; burst < 3; ++burst) {
            const double start = 0.5 + double(burst);
            EXPECT_NEAR(loudness(sound, start + 0.01, start + 0.09), 0.354 * c.volumes[burst], 0.03) << start;
            EXPECT_LT(loudness(sound, start - 0.1, start - 0.005), 0.02) << start;
            EXPECT_LT(loudness(sound, start + 0.105, start + 0.2), 0.02) << start;
        }
    }

    const Json audio = probe(folder / "movie.mp4").at("streams")[1];
    EXPECT_EQ(audio.at("codec_name"), "aac");
    EXPECT_EQ(audio.at("channels"), 2);
}

} // namespace
} // namespace tavrin
