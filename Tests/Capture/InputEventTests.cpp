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

void expectNear(const Rect& a, const Rect& b) {
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
    EXPECT_NEAR(a.width, b.width, 1e-9);
    EXPECT_NEAR(a.height, b.height, 1e-9);
}

TEST(InputEventRecorder, KeepsOnlyWhatHappensDuringATake) {
    InputEventRecorder recorder;
    recorder.recordMove(1, {1, 1});
    recorder.start();
    recorder.recordMove(2, {2, 2});
    recorder.recordClick(3, {3, 3}, 1);
    const auto key = [&](const std::string& text) {
        recorder.recordKey(1, text, {KeyModifier::command}, KeyEventContentKind::special, true);
    };
    key("\n" + std::string(300, 'x'));
    key("\r\n"); // nothing is left of it
    EXPECT_EQ(recorder.stop().keyEvents().at(0).displayText, std::string(24, 'x'));
    EXPECT_EQ(recorder.stop().keyEvents().size(), 1u);
    EXPECT_EQ(recorder.stop().mouseEvents().size(), 2u);
    recorder.recordDrag(4, {4, 4});
    EXPECT_EQ(recorder.stop().mouseEvents().size(), 2u);
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

TEST(NormalizedTimeline, GoesByTheLatestOfAllKindsOfEvents) {
    EventTimeline timeline;
    timeline.append(MouseEvent{1, {720, 450}, MouseEventKind::clicked, 1});
    timeline.append(CursorStateEvent{5003, {0, 900}, true, {"arrow", {1}, {0, 0}, {16, 16}}});
    const auto result = CaptureCoordinator::normalizedTimeline(
        timeline, takeOf(5000, 10), optionsFor(RecordingTarget::display("1"), Rect{0, 0, 1440, 900}));
    ASSERT_EQ(result.mouseEvents().size(), 1u);
    EXPECT_EQ(result.mouseEvents()[0], (MouseEvent{0, {0.5, 0.5}, MouseEventKind::clicked, 1}));
    ASSERT_EQ(result.cursorStates().size(), 1u);
    EXPECT_NEAR(result.cursorStates()[0].timestamp, 3, 1e-9);
    EXPECT_EQ(result.cursorStates()[0].location, (Vec2{0, 1}));
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
        {Rect::infinite(), {7, 8}, Vec2{7, 8}},
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

TEST(Normalizer, PinsToTheContentsEdgeInsideTheSurface) {
    const ResolvedGeometrySample sample{0, {0, 0, 100, 100}, {10, 20, 80, 60}, {100, 100}};
    EXPECT_EQ(Normalizer::normalizedLocation({-8, 108}, sample), (Vec2{0.1, 0.8}));
    ResolvedGeometrySample thin = sample;
    for (Rect* rect : {&thin.screenRect, &thin.contentRect}) {
        thin = sample;
        rect->height = 0.5;
        EXPECT_FALSE(Normalizer::normalizedLocation({50, 0.2}, thin));
    }
    thin = sample;
    thin.surfaceSizePoints.width = 0.5;
    EXPECT_FALSE(Normalizer::normalizedLocation({50, 50}, thin));
}

TEST(GeometrySamples, KeepToTheVerticalOriginThatFits) {
    const CaptureCoordinateMappingContext context{Rect{100, 580, 400, 300}, 900};
    const auto samples = Normalizer::resolveGeometrySamples({sampleAt(1, {100, 20, 400, 300}),
                                                             sampleAt(2, {100, 120, 400, 300}),
                                                             sampleAt(3, {100, 430, 400, 300})},
                                                            context);
    ASSERT_EQ(samples.size(), 3u);
    expectNear(samples[0].screenRect, {100, 580, 400, 300});
    expectNear(samples[1].screenRect, {100, 480, 400, 300});
    // Turned over y = 170, as given 430: nearer to the window's last place wins, not the first choice.
    expectNear(samples[2].screenRect, {100, 430, 400, 300});
}

TEST(GeometrySamples, FindAScaleAndTurnTheContentOver) {
    const struct {
        double scale;
        Rect content;
        double expectedScale;
    } cases[] = {
        {2, {0, 0, 1440, 900}, 2}, {0, {0, 0, 1440, 900}, 2}, {nan, {0, 0, 0.5, 900}, 2},
        {0.01, {0, 0, 0, 0}, 1},   {-1, {0, 0, 720, 10}, 4},  {inf, {0, 0, 1440, 900}, 2},
    };
    for (const auto& [scale, content, expectedScale] : cases) {
        const auto samples = Normalizer::resolveGeometrySamples(
            {{1, {0, 0, 1440, 900}, content, scale, {2880, 1800}}}, std::nullopt);
        ASSERT_EQ(samples.size(), 1u);
        EXPECT_DOUBLE_EQ(samples[0].surfaceSizePoints.width, 2880 / expectedScale);
        EXPECT_DOUBLE_EQ(samples[0].contentRect.minY(), 1800 / expectedScale - content.height);
    }
}

} // namespace
} // namespace tavrin
