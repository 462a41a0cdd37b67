#include <limits>
#include <optional>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Project/VideoTrack.h"
#include "TavrinKit/Project/VideoTrackEditError.h"

namespace tavrin {
namespace {

using Kind = VideoTrackEditErrorKind;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

UUID id(std::uint8_t number) {
    UUID result;
    result.bytes[15] = number;
    return result;
}

TimelineClip clip(std::uint8_t number, ClipTimeRange timeline, std::int64_t lane = 0) {
    return {.id = id(number),
            .sourceID = "screen",
            .sourceRange = {timeline.startTime + 100, timeline.endTime + 100},
            .timelineRange = timeline,
            .lane = lane};
}

/// The kind of error that the edit ends with, if any.
std::optional<Kind> failureOf(const std::function<void()>& edit) {
    try {
        edit();
    } catch (const VideoTrackEditError& error) {
        return error.kind();
    }
    return std::nullopt;
}

void expectRange(const ClipTimeRange& actual, const ClipTimeRange& expected) {
    EXPECT_NEAR(actual.startTime, expected.startTime, 1e-9);
    EXPECT_NEAR(actual.endTime, expected.endTime, 1e-9);
}

TEST(VideoTrack, ASplitFallsOnTheNearestFrameAndLeavesMoreThanAFrameOnEitherSide) {
    const struct {
        const char* what;
        double time;
        double fps;
        std::optional<double> at;
    } cases[] = {
        {"between frames", 1.004, 60, 1.0},
        {"half-way to an odd frame", 1.25, 2, 1.0},
        {"half-way from an odd frame", 1.75, 2, 2.0},
        {"no rate: whole seconds", 2.4, 0, 2.0},
        {"a rate that is no number", 1.004, nan, 1.0},
        {"more than a frame from the start", 2.0 / 64, 64, 2.0 / 64},
        {"a frame from the start", 1.0 / 64, 64, {}},
        {"a frame from the end", 5 - 1.0 / 64, 64, {}},
        {"behind the end", 7, 60, {}},
        {"no number", nan, 60, {}},
    };
    for (const auto& [what, time, fps, at] : cases) {
        SCOPED_TRACE(what);
        TimelineClip whole = clip(1, {0, 5});
        whole.sourceRange = {100, 106}; // longer than on the timeline
        whole.takeGroupID = id(9);
        VideoTrack track{{whole}, {}};
        const auto failure = failureOf([&] { track.splitClip(id(1), time, fps); });
        if (!at) {
            EXPECT_EQ(failure, Kind::splitTimeOutOfRange);
            EXPECT_EQ(track, (VideoTrack{{whole}, {}}));
            continue;
        }
        ASSERT_EQ(failure, std::nullopt);
        ASSERT_EQ(track.clips.size(), 2U);
        expectRange(track.clips[0].timelineRange, {0, *at});
        expectRange(track.clips[0].sourceRange, {100, 100 + *at});
        expectRange(track.clips[1].timelineRange, {*at, 5});
        expectRange(track.clips[1].sourceRange, {100 + *at, 105});
        EXPECT_EQ(track.clips[0].id, id(1));
        EXPECT_NE(track.clips[1].id, id(1));
        EXPECT_EQ(track.clips[1].takeGroupID, id(9));
    }
}

TEST(VideoTrack, TrimsOnlyShortenAndLeaveAFrame) {
    const double frame = 1.0 / 60;
    const struct {
        double target;
        ClipTimeRange afterIn;
        ClipTimeRange afterOut;
    } cases[] = {
        {1.004, {1, 3}, {0.5, 1}},
        {9, {3 - frame, 3}, {0.5, 3}},
        {0, {0.5, 3}, {0.5, 0.5 + frame}},
    };
    for (const auto& [target, afterIn, afterOut] : cases) {
        VideoTrack in{{clip(1, {0.5, 3})}, {}};
        in.trimClipIn(id(1), target, 60);
        expectRange(in.clips[0].timelineRange, afterIn);
        expectRange(in.clips[0].sourceRange, {afterIn.startTime + 100, 103});
        VideoTrack out{{clip(1, {0.5, 3})}, {}};
        out.trimClipOut(id(1), target, 60);
        expectRange(out.clips[0].timelineRange, afterOut);
        expectRange(out.clips[0].sourceRange, {100.5, afterOut.endTime + 100});
    }
}

TEST(VideoTrack, ARippleDeletePullsUpWhatLiesBehindOnAllLanes) {
    VideoTrack track{
        {clip(1, {0, 2}), clip(2, {2, 4}), clip(3, {4, 6}), clip(4, {3.9, 5}, 1), clip(5, {4, 6}, 2)},
        {{.id = id(20), .clipID = id(2)}, {.id = id(21), .clipID = id(3)}}};
    track.rippleDelete(id(2), 60);
    ASSERT_EQ(track.clips.size(), 4U);
    expectRange(track.clips[1].timelineRange, {2, 4});
    expectRange(track.clips[2].timelineRange, {3.9, 5}); // began before the end of what was removed
    expectRange(track.clips[3].timelineRange, {2, 4});
    ASSERT_EQ(track.takeGroups.size(), 1U);
    EXPECT_EQ(track.takeGroups[0].id, id(21));
}

TEST(VideoTrack, AnOverlapIsReportedAfterTheEdit) {
    VideoTrack track{{clip(1, {0, 2}, 3), clip(2, {1, 4}, 3), clip(3, {5, 7})}, {}};
    EXPECT_THAT([&] { track.splitClip(id(3), 6, 60); },
                testing::Throws<VideoTrackEditError>(testing::Property(&VideoTrackEditError::lane, 3)));
    EXPECT_EQ(track.clips.size(), 4U);
    const auto overlap = [](double start) {
        return failureOf([&] { VideoTrack{{clip(2, {start, 3}), clip(1, {0, 2})}, {}}.assertNoOverlap(); });
    };
    EXPECT_EQ(overlap(1.9999), std::nullopt);
    EXPECT_EQ(overlap(1.9998), Kind::overlapDetected);
}

TEST(VideoTrack, ATakeIsTriedGivenUpAndCommitted) {
    const ClipTake first{.id = id(31), .sourceID = "one", .sourceRange = {0, 2}};
    const ClipTake second{.id = id(32), .sourceID = "two", .sourceRange = {7, 8}}; // shorter than the clip
    VideoTrack track{
        {clip(1, {3, 5})},
        {{.id = id(20), .clipID = id(1), .takes = {first, second}, .committedTakeID = first.id}}};
    const VideoTrack before = track;
    track.previewTake(id(20), second.id);
    EXPECT_EQ(track.clips, before.clips);
    EXPECT_EQ(track.takeGroups[0].activeTakeID(), second.id);
    track.revertPreviewTake(id(20));
    EXPECT_EQ(track, before);

    track.previewTake(id(20), second.id);
    track.commitPreviewTake(id(20));
    EXPECT_EQ(track.clips[0].sourceID, "two");
    expectRange(track.clips[0].sourceRange, {7, 9});
    expectRange(track.clips[0].timelineRange, {3, 5});
    EXPECT_EQ(track.clips[0].takeGroupID, id(20));
    EXPECT_EQ(track.takeGroups[0].committedTakeID, second.id);
    EXPECT_EQ(track.takeGroups[0].previewTakeID, std::nullopt);
}

TEST(VideoTrack, WhatIsNotThereIsNamedAndNothingChanges) {
    const VideoTrack before{
        {clip(1, {3, 5})},
        {{.id = id(20), .clipID = id(1), .previewTakeID = id(30)},
         {.id = id(21), .clipID = id(7), .takes = {{.id = id(31)}}, .previewTakeID = id(31)}}};
    VideoTrack track = before;
    EXPECT_EQ(failureOf([&] { track.splitClip(id(9), 4, 60); }), Kind::clipNotFound);
    EXPECT_EQ(failureOf([&] { track.rippleDelete(id(9), 60); }), Kind::clipNotFound);
    EXPECT_EQ(failureOf([&] { track.commitPreviewTake(id(21)); }), Kind::clipNotFound);
    EXPECT_EQ(failureOf([&] { track.previewTake(id(9), id(31)); }), Kind::takeGroupNotFound);
    EXPECT_EQ(failureOf([&] { track.previewTake(id(20), id(31)); }), Kind::takeNotFound);
    EXPECT_EQ(failureOf([&] { track.commitPreviewTake(id(20)); }), Kind::takeNotFound);
    EXPECT_EQ(track, before);
}

/// Whatever is done in whatever order: clips stay in order, apart, at least a frame long and on the grid's
/// side of zero, and each plays as long as it stands on the timeline.
TEST(VideoTrack, RandomEditsKeepItsPromises) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](int count) {
            return std::uniform_int_distribution(0, count - 1)(random);
        };
        const double fps = std::array{24.0, 30.0, 59.94, 60.0}[std::size_t(below(4))];
        VideoTrack track;
        for (int i = 0; i < 9; ++i) { // three on each of three lanes
            const double start = i % 3 * 5 * 20 / fps;
            track.clips.push_back(clip(std::uint8_t(i), {start, start + (2 + below(4)) * 20 / fps}, i / 3));
        }
        for (int edit = 0; edit < 40 && !track.clips.empty(); ++edit) {
            const UUID target = track.clips[std::size_t(below(int(track.clips.size())))].id;
            const double time = std::uniform_real_distribution(-1.0, 10.0)(random);
            const VideoTrack before = track;
            const int choice = below(8);
            const auto failure = failureOf([&] {
                choice == 0   ? track.rippleDelete(target, fps)
                : choice == 1 ? track.trimClipIn(target, time, fps)
                : choice == 2 ? track.trimClipOut(target, time, fps)
                              : track.splitClip(target, time, fps);
            });
            if (failure == Kind::overlapDetected) { // of what a ripple delete pulled up on another lane
                track = before;
                continue;
            }
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", edit " << edit);
            ASSERT_EQ(track.normalized(), track);
            ASSERT_NO_THROW(track.assertNoOverlap());
            for (const TimelineClip& each : track.clips) {
                ASSERT_GE(each.timelineRange.startTime, 0);
                ASSERT_GE(each.duration(), 1 / fps - 1e-9);
                ASSERT_NEAR(each.sourceRange.duration(), each.duration(), 1e-9);
            }
        }
    }
}

} // namespace
} // namespace tavrin
