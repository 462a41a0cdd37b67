#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Project/AnnotationTrack.h"
#include "TavrinKit/Project/ExtraAudioTrack.h"
#include "TavrinKit/Project/TimelineTimeMapper.h"
#include "TavrinKit/Project/VideoTrack.h"
#include "TavrinKit/Project/ZoomTrack.h"

namespace tavrin {
namespace {

using testing::ElementsAre;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

UUID id(std::uint8_t number) {
    UUID result;
    result.bytes[15] = number;
    return result;
}

std::vector<int> ids(const auto& records) {
    std::vector<int> result;
    for (const auto& record : records) {
        result.push_back(record.id.bytes[15]);
    }
    return result;
}

TEST(TrackTests, everyTrackHasItsOwnOrder) {
    const auto order = [](auto track, auto records) {
        track.*records = {
            {.id = id(3), .startTime = 2}, {.id = id(2), .startTime = 1}, {.id = id(1), .startTime = 2}};
        return ids(track.normalized().*records);
    };
    EXPECT_THAT(order(ZoomTrack(), &ZoomTrack::segments), ElementsAre(2, 3, 1)); // by start alone
    EXPECT_THAT(order(SpeedTrack(), &SpeedTrack::regions), ElementsAre(2, 1, 3));
    EXPECT_THAT(order(ExtraAudioTrack(), &ExtraAudioTrack::regions), ElementsAre(2, 1, 3));
    const AnnotationTrack annotations{{{.id = id(1), .startTime = 0, .zIndex = 1},
                                       {.id = id(3), .startTime = 4, .zIndex = 0},
                                       {.id = id(2), .startTime = 4, .zIndex = 0}}};
    EXPECT_THAT(ids(annotations.normalized().regions), ElementsAre(2, 3, 1));
    const VideoTrack video{{{.id = id(1), .timelineRange = {0, 1}, .lane = 1},
                            {.id = id(3), .timelineRange = {5, 6}, .lane = 0},
                            {.id = id(2), .timelineRange = {5, 6}, .lane = 0}},
                           {}};
    EXPECT_THAT(ids(video.normalized().clips), ElementsAre(2, 3, 1));
}

TEST(TrackTests, boundsOfARegionMove) {
    const struct {
        std::optional<double> start;
        std::optional<double> end;
        ClipTimeRange zoom;
        ClipTimeRange speed;
    } cases[] = {
        {-1, {}, {0, 4}, {0, 4}},   {3, {}, {3, 4}, {3, 4}},  {6, {}, {6, 6}, {6, 4}},
        {{}, 1, {2, 2}, {2, 2}},    {5, 4.5, {5, 5}, {5, 5}}, {{}, 9, {2, 9}, {2, 9}},
        {nan, nan, {0, 0}, {0, 0}}, {{}, {}, {2, 4}, {2, 4}},
    };
    for (const auto& c : cases) {
        const auto check = [&](auto track, auto records, const ClipTimeRange& expected) {
            track.*records = {{.id = id(1), .startTime = 2, .endTime = 4},
                              {.id = id(2), .startTime = 3, .endTime = 4}};
            track.updateBounds(id(1), c.start, c.end);
            const auto& moved = (track.*records)[expected.startTime > 3 ? 1 : 0];
            EXPECT_EQ(moved.id, id(1));
            EXPECT_EQ((ClipTimeRange{moved.startTime, moved.endTime}), expected);
        };
        check(ZoomTrack(), &ZoomTrack::segments, c.zoom);
        check(SpeedTrack(), &SpeedTrack::regions, c.speed);
    }
}

TEST(TrackTests, operationsFindTheirRegionOrDoNothing) {
    ZoomTrack zoom;
    zoom.add({.id = id(1), .startTime = 5});
    zoom.add({.id = id(2), .startTime = 1});
    zoom.setTransitionStyle(id(1), ZoomTransitionStyle::gentle);
    zoom.setEnabled(id(9), false);
    zoom.updateBounds(id(9), 0, 1);
    EXPECT_EQ(zoom,
              (ZoomTrack{{{.id = id(2), .startTime = 1},
                          {.id = id(1), .startTime = 5, .transitionStyle = ZoomTransitionStyle::gentle}}}));
    SpeedTrack speed;
    speed.add({.id = id(2), .startTime = 1, .speed = PlaybackSpeed::x05});
    speed.add({.id = id(1), .startTime = 1});
    speed.setSpeed(id(2), PlaybackSpeed::x15);
    EXPECT_EQ(speed.regions[1].speed, PlaybackSpeed::x15);
    speed.remove(id(2));
    EXPECT_THAT(ids(speed.regions), ElementsAre(1));
}

SpeedRegion region(double start, double end, PlaybackSpeed speed, std::uint8_t number = 1) {
    return {id(number), start, end, speed};
}

TEST(TimelineTimeMapperTests, goesThereAndBack) {
    using enum PlaybackSpeed;
    const struct {
        double duration;
        std::vector<SpeedRegion> regions;
        double editedDuration;
        std::vector<std::pair<double, double>> points; ///< source, edited
    } cases[] = {
        {10, {region(2, 4, x2)}, 9, {{2, 2}, {3, 2.5}, {4, 3}, {10, 9}}},
        {2, {region(0, 2, x05)}, 4, {{1, 2}, {2, 4}}},
        // the earlier of two overlapping regions holds, in whatever order they are given
        {10, {region(2, 4, x05), region(1, 3, x2)}, 10, {{3, 2}, {4, 4}, {5, 5}}},
        {10, {region(1, 3, x05, 2), region(1, 2, x2, 1)}, 10.5, {{2, 1.5}, {3, 3.5}}},
        {10, {region(8, 20, x2), region(12, 14, x05)}, 9, {{9, 8.5}}},
        {10, {region(-2, 2, x2)}, 9, {{2, 1}}},
        {10, {region(5, 3, x2), region(4, 4, x05)}, 10, {{5, 5}}},
    };
    for (const auto& [duration, regions, editedDuration, points] : cases) {
        const TimelineTimeMapper mapper(duration, regions);
        EXPECT_NEAR(mapper.editedDuration(), editedDuration, 1e-12);
        for (const auto& [source, edited] : points) {
            EXPECT_NEAR(mapper.editedTime(source), edited, 1e-12);
            EXPECT_NEAR(mapper.sourceTime(edited), source, 1e-12);
        }
        EXPECT_EQ(mapper.editedTime(-1), 0);
        EXPECT_NEAR(mapper.sourceTime(editedDuration + 1), duration, 1e-12);
    }
    for (const double none : {-1.0, nan, std::numeric_limits<double>::infinity()}) {
        const TimelineTimeMapper mapper(none, {region(0, 1, x2)});
        EXPECT_EQ(mapper.editedTime(5), 0);
        EXPECT_EQ(mapper.sourceTime(5), 0);
    }
}

/// Whatever regions a file holds, in whatever order.
TEST(TimelineTimeMapperTests, theWayThereIsTheWayBack) {
    constexpr double extremes[] = {-1e308, 1e308, 0, -0.0, 5e-324, nan};
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](int count) {
            return std::uniform_int_distribution(0, count - 1)(random);
        };
        const double duration = below(20) == 0 ? 1e308 : std::uniform_real_distribution(0.01, 4000.0)(random);
        const auto anyTime = [&] {
            return below(8) == 0 ? extremes[below(6)]
                                 : std::uniform_real_distribution(-0.1, 1.1)(random) * duration;
        };
        std::vector<SpeedRegion> regions;
        for (int i = below(12); i > 0; --i) {
            const double start = i % 3 == 0 && !regions.empty() ? regions.back().startTime : anyTime();
            regions.push_back(region(start, anyTime(), PlaybackSpeed(below(7)), std::uint8_t(i)));
        }
        const TimelineTimeMapper mapper(duration, regions);
        std::shuffle(regions.begin(), regions.end(), random);
        ASSERT_EQ(TimelineTimeMapper(duration, regions).segments(), mapper.segments());
        double last = 0;
        for (int i = 0; i <= 200; ++i) {
            const double source = duration * (i / 200.0);
            const double edited = mapper.editedTime(source);
            ASSERT_GE(edited, last);
            ASSERT_LE(edited, mapper.editedDuration());
            if (std::isfinite(mapper.editedDuration())) {
                ASSERT_NEAR(mapper.sourceTime(edited), source, duration * 1e-12) << "seed " << seed;
            }
            last = edited;
        }
    }
}

} // namespace
} // namespace tavrin
