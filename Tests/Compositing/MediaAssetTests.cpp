#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/MixedSound.h"
#include "TavrinKit/Support/UUID.h"
#include "TestMovies.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr int rate = 48000;

int numberIn(const PixelBuffer& picture) {
    return int(std::lround((picture.row(0, 24)[32] - 20) / 2.0));
}

std::vector<float> claps(double duration, const std::vector<double>& times) {
    std::vector<float> sound(std::size_t(std::llround(duration * rate)));
    std::mt19937 random(11);
    std::uniform_real_distribution<float> noise(-0.8F, 0.8F);
    for (const double time : times) {
        const auto start = std::size_t(std::llround(time * rate));
        for (std::size_t i = 0; i < rate / 50 && start + i < sound.size(); ++i) {
            sound[start + i] = noise(random) * float(std::exp(-double(i) / (0.005 * rate)));
        }
    }
    return sound;
}

std::vector<float> soundOf(const MediaAsset& asset, int track = 0) {
    std::vector<float> sound(std::size_t(std::llround(asset.duration() * rate)));
    const auto reader = asset.openAudio(track, rate, 1);
    for (std::size_t i = 0; i < sound.size(); i += 801) {
        reader->read(std::span(sound).subspan(i, std::min<std::size_t>(801, sound.size() - i)));
    }
    return sound;
}

SpeedRegion region(double start, double end, PlaybackSpeed speed) {
    return {UUID::make(), start, end, speed};
}

class MediaAssets : public testing::Test {
protected:
    [[nodiscard]] MediaAsset movie(const std::vector<double>& times, double endTime,
                                   const std::vector<float>& sound = {}) const {
        return test::greyMovie(folder_, times, endTime, sound);
    }

    test::TemporaryFolder folder_;
};

TEST_F(MediaAssets, AnEditOfEditsShowsWhatTheMappingsPredict) {
    std::mt19937 random(5);
    std::vector<double> times;
    double next = 0;
    for (int i = 0; i < 100; ++i) {
        times.push_back(next);
        next += std::uniform_real_distribution<double>(0.004, 0.35)(random);
    }
    const MediaAsset asset = movie(times, next);
    const auto any = [&](double most) {
        return std::uniform_real_distribution<double>(0, most)(random);
    };
    for (int round = 0; round < 6; ++round) {
        const double start = any(asset.duration() / 2);
        const ClipTimeRange trim{start, start + any(asset.duration() - start)};
        const MediaAsset trimmed = asset.trimmed(trim);
        std::vector<SpeedRegion> regions;
        for (int i = 0; i < 5; ++i) {
            const double from = any(trim.duration());
            regions.push_back(region(from, from + any(2), PlaybackSpeed(int(any(6.99)))));
        }
        const TimelineTimeMapper mapper(trimmed.duration(), regions);
        const MediaAsset edited = trimmed.retimed(mapper);
        ASSERT_DOUBLE_EQ(edited.duration(), mapper.editedDuration());

        const auto reader = edited.openVideo();
        std::vector<double> asked;
        for (int i = 0; i < 60; ++i) {
            asked.push_back(any(edited.duration() + 1) - 0.5);
        }
        for (const TimelineTimeMapper::Segment& segment : mapper.segments()) {
            asked.push_back(segment.editedRange.startTime); // a cut shows the first picture behind it
        }
        std::sort(asked.begin() + 30, asked.end());
        for (const double time : asked) {
            const double source = trim.startTime + mapper.sourceTime(time);
            const auto behind = std::upper_bound(times.begin(), times.end(), source);
            const bool isClear = (behind == times.end() || *behind - source > 5e-6) &&
                                 source - *std::prev(behind) > 5e-6 && trim.endTime - source > 5e-6;
            if (isClear) {
                const auto frame = reader->frame(time);
                ASSERT_TRUE(frame);
                EXPECT_EQ(numberIn(frame->pixels), behind - times.begin() - 1) << "at " << time;
                EXPECT_LE(frame->time, std::max(time, 0.0) + 1e-6);
                EXPECT_GE(frame->time, 0);
            }
        }
    }
}

TEST_F(MediaAssets, ACutHoldsItsOwnPicturesAndFrameTimesFindTheirPicture) {
    const MediaAsset asset = movie(test::evenTimes(90, 30), 3);
    const auto numberAt = [](const MediaAsset& shown, double time) {
        return numberIn(shown.openVideo()->frame(time)->pixels);
    };
    const MediaAsset cut = asset.trimmed({1, 2});
    EXPECT_EQ(numberAt(cut, -1), 30);
    EXPECT_EQ(numberAt(cut, 1), 59); // not the one behind the cut
    EXPECT_EQ(numberAt(cut, 100), 59);
    EXPECT_EQ(numberAt(cut, nan), 30);
    EXPECT_EQ(numberAt(asset, 100), 89);

    const MediaAsset slow = asset.retimed(TimelineTimeMapper(3, {region(0, 3, PlaybackSpeed::x025)}));
    const auto reader = slow.openVideo();
    for (int frame = 0; frame < 720; ++frame) {
        ASSERT_EQ(numberIn(reader->frame(frame / 60.0)->pixels), frame / 8) << frame;
    }

    const struct {
        ClipTimeRange range;
        double duration;
        int first;
    } ranges[] = {{{2, 1}, 0, 60},    {{-5, 1}, 1, 0}, {{2, 99}, 1, 60},
                  {{99, 100}, 0, 89}, {{1, 1}, 0, 30}, {{0, infinity}, 3, 0}};
    for (const auto& [range, duration, first] : ranges) {
        const MediaAsset part = asset.trimmed(range);
        EXPECT_NEAR(part.duration(), duration, 1e-9) << range.startTime << " to " << range.endTime;
        EXPECT_EQ(numberAt(part, 0.01), first) << range.startTime << " to " << range.endTime;
        const MediaAsset again = part.trimmed(range).retimed(TimelineTimeMapper(part.duration(), {}));
        EXPECT_TRUE(again.openVideo()->frame(0));
    }
}

TEST_F(MediaAssets, SoundKeepsItsPlaceThroughTrimsAndSpeeds) {
    constexpr double duration = 32;
    std::vector<SpeedRegion> regions;
    std::vector<double> marks; // at the start, inside and at the end of each region
    for (int i = 0; i < 7; ++i) {
        const double start = 1 + 4.0 * i;
        regions.push_back(region(start, start + 2, PlaybackSpeed(i)));
        marks.insert(marks.end(), {start, start + 0.73, start + 1.4, start + 2, start + 3.1});
    }
    std::vector<double> inFile;
    for (const double mark : marks) {
        inFile.push_back(mark + 1.5);
    }
    const MediaAsset whole = movie({0}, duration + 2, claps(duration + 2, inFile));
    const MediaAsset trimmed = whole.trimmed({1.5, 1.5 + duration});
    const TimelineTimeMapper mapper(duration, regions);
    const std::vector<float> sound = soundOf(trimmed.retimed(mapper));
    ASSERT_EQ(sound.size(), std::size_t(std::llround(mapper.editedDuration() * rate)));
    for (const double mark : marks) {
        const double place = mapper.editedTime(mark);
        EXPECT_NEAR(test::attackIn(sound, rate, place - 0.15, place + 0.15), place, 0.008)
            << "mark at " << mark;
    }

    // At speed 1 every frame is the file's own, once the two milliseconds after a border are over.
    const std::vector<float> original = soundOf(trimmed);
    for (const TimelineTimeMapper::Segment& segment : mapper.segments()) {
        if (segment.speed == 1) {
            const auto from = std::llround(segment.sourceRange.startTime * rate);
            const auto to = std::llround(segment.editedRange.startTime * rate);
            for (std::int64_t i = 100; i < std::llround(segment.sourceRange.duration() * rate) - 1; ++i) {
                ASSERT_EQ(sound[std::size_t(to + i)], original[std::size_t(from + i)]) << i;
            }
        }
    }
}

TEST_F(MediaAssets, AddedSoundPlaysInItsPlaceThroughTheMix) {
    const MediaAsset silent = movie({0}, 4);
    const MediaAsset music = movie({}, 0, std::vector<float>(rate, 0.5F));
    EXPECT_FALSE(music.hasVideo());
    EXPECT_EQ(silent.audioTrackCount(), 0);
    const MediaAsset both =
        silent.withSound(music, {1, 1.5}).withSound(music, {3, 99}).withSound(silent, {0, 1});
    ASSERT_EQ(both.audioTrackCount(), 2);
    EXPECT_DOUBLE_EQ(both.duration(), 4);

    AudioMix mix;
    mix.tracks.push_back({0.5, {{1.1, 1.3, 0.5, 1}, {1.3, 1.4, 1, 0}}});
    MixedSound sound(both, mix, AudioTrackSettings{rate, 1});
    std::vector<float> all;
    while (all.size() < 5 * rate) {
        const std::span<const float> run = sound.next(1001);
        all.insert(all.end(), run.begin(), run.end());
    }
    for (const auto& [time, value] : {std::pair{0.99, 0.0},
                                      {1.05, 0.25},
                                      {1.2, 0.375},
                                      {1.35, 0.25},
                                      {1.45, 0.0},
                                      {1.6, 0.0},
                                      {2.99, 0.0},
                                      {3.01, 0.5},
                                      {3.99, 0.5},
                                      {4.01, 0.0}}) {
        EXPECT_NEAR(all[std::size_t(std::llround(time * rate))], value, 1e-4) << time;
    }
}

} // namespace
} // namespace tavrin
