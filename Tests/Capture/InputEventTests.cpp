#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/CaptureInputCoordinateNormalizer.h"
#include "TavrinKit/Capture/InputEventRecorder.h"

namespace tavrin {
namespace {

using Normalizer = CaptureInputCoordinateNormalizer;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

CaptureOptions optionsFor(RecordingTarget target, std::optional<Rect> bounds,
                          std::optional<double> mainDisplayHeight = {}) {
    CaptureOptions options;
    options.target = std::move(target);
    options.mappingContext = CaptureCoordinateMappingContext{bounds, mainDisplayHeight};
    return options;
}

ScreenCaptureResult takeOf(double startedAt, double duration,
                           std::vector<CaptureGeometrySample> samples = {}) {
    ScreenCaptureResult result;
    result.startedAt = startedAt;
    result.endedAt = startedAt + duration;
    result.geometrySamples = std::move(samples);
    return result;
}

CaptureGeometrySample sampleAt(double time, Rect screenRect) {
    return {time,
            screenRect,
            {0, 0, screenRect.width, screenRect.height},
            1,
            {screenRect.width, screenRect.height}};
}

TEST(InputEventRecorder, KeepsOnlyWhatHappensDuringATake) {
    InputEventRecorder recorder;
    recorder.recordMove(1, {1, 1});
    recorder.start();
    recorder.recordMove(2, {2, 2});
    for (const std::string& text : {"\n" + std::string(300, 'x'), std::string("\r\n")}) {
        recorder.recordKey(1, text, {KeyModifier::command}, KeyEventContentKind::special, true);
    }
    const EventTimeline taken = recorder.stop();
    EXPECT_EQ(taken.mouseEvents().size(), 1u);
    ASSERT_EQ(taken.keyEvents().size(), 1u) << "of the second nothing is left";
    EXPECT_EQ(taken.keyEvents()[0].displayText, std::string(24, 'x'));
    recorder.start();
    EXPECT_TRUE(recorder.stop().isEmpty());
}

TEST(NormalizedTimeline, TellsHostClockFromTakeClockBySize) {
    const struct {
        const char* name;
        double startedAt, duration;
        std::vector<double> times, expected;
    } cases[] = {
        {"host clock", 5000, 10, {5001, 5009}, {1, 9}},
        {"host clock, beyond both ends", 5000, 10, {4999, 5000, 5012}, {0, 0, 10}},
        {"take clock, up to the tolerance", 5000, 10, {0, 11, 12.5}, {0, 10, 10}},
        {"just above the tolerance", 12, 10, {12.5000001}, {0.5000001}},
        {"a short take's tolerance is a second", 5, 0.5, {1.5}, {0.5}},
        {"no start never rebases", 0, 10, {5001}, {10}},
        {"no duration", 5000, 0, {5003}, {0}},
    };
    for (const auto& row : cases) {
        EventTimeline timeline;
        for (const double time : row.times) {
            timeline.append(KeyEvent{time, "a", {}, KeyEventContentKind::printable, false});
        }
        const auto result = CaptureCoordinator::normalizedTimeline(
            timeline, takeOf(row.startedAt, row.duration), optionsFor(RecordingTarget::display("1"), {}));
        ASSERT_EQ(result.keyEvents().size(), row.expected.size()) << row.name;
        for (std::size_t i = 0; i < row.expected.size(); ++i) {
            EXPECT_NEAR(result.keyEvents()[i].timestamp, row.expected[i], 1e-9) << row.name;
        }
    }
}

TEST(Normalizer, MapsIntoTheSourceBounds) {
    const Rect bounds{100, -200, 1000, 500};
    const struct {
        std::optional<Rect> bounds;
        Vec2 location;
        std::optional<Vec2> expected;
    } cases[] = {
        {bounds, {100, -200}, Vec2{0, 0}},
        {bounds, {1100, 300}, Vec2{1, 1}},
        {bounds, {350, 50}, Vec2{0.25, 0.5}},
        {bounds, {20, 340}, Vec2{0, 1}}, // 8 per cent belongs to it
        {bounds, {19.9, 0}, std::nullopt},
        {bounds, {600, 340.1}, std::nullopt},
        {bounds, {600, -240.1}, std::nullopt},
        {bounds, {nan, 0}, std::nullopt},
        {std::nullopt, {-200, 12}, Vec2{-200, 12}},
        {Rect{0, 0, 0.5, 500}, {7, 8}, Vec2{7, 8}},
        {Rect::null(), {7, 8}, Vec2{7, 8}},
        {std::nullopt, {inf, 8}, std::nullopt},
        {Rect{1100, 300, -1000, -500}, {350, 50}, Vec2{0.25, 0.5}},
    };
    for (const auto& [source, location, expected] : cases) {
        // A display stays where it is: samples are not asked.
        const Normalizer normalizer(optionsFor(RecordingTarget::display("1"), source),
                                    {sampleAt(0, {0, 0, 10, 10})});
        EXPECT_EQ(normalizer.normalizedLocation(location, 0), expected) << location.x << " " << location.y;
    }
}

TEST(Normalizer, FollowsAWindowAndFallsBackOnItsBounds) {
    const Rect bounds{0, 0, 400, 400};
    const Normalizer normalizer(optionsFor(RecordingTarget::window("3"), bounds),
                                {sampleAt(20, {1000, 0, 200, 100}), sampleAt(10, {500, 0, 200, 100})});
    const struct {
        double time;
        Vec2 location;
        std::optional<Vec2> expected;
    } cases[] = {
        {5, {550, 50}, Vec2{0.25, 0.5}}, // before all samples: the first
        {10, {550, 50}, Vec2{0.25, 0.5}},   {19.999, {550, 50}, Vec2{0.25, 0.5}},
        {20, {1050, 50}, Vec2{0.25, 0.5}},  {99, {1050, 50}, Vec2{0.25, 0.5}},
        {10, {490, 50}, Vec2{0, 0.5}}, // 5 per cent left of it: on its edge
        {10, {482, 50}, std::nullopt}, // 9 per cent: the bounds decide
        {10, {100, 100}, Vec2{0.25, 0.25}},
    };
    for (const auto& [time, location, expected] : cases) {
        EXPECT_EQ(normalizer.normalizedLocation(location, time), expected) << time << " " << location.x;
    }
}

} // namespace
} // namespace tavrin
