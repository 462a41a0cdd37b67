#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PlainCursor.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {
namespace {

MouseEvent moved(double time, double x, double y) {
    return {time, {x, y}, MouseEventKind::moved, {}};
}

MouseEvent clicked(double time, double x, double y, std::optional<std::int64_t> button = 0) {
    return {time, {x, y}, MouseEventKind::clicked, button};
}

CursorStateEvent seen(double time, double x, double y, bool visible = true) {
    return {time, {x, y}, visible, CursorAppearance("arrow", {1, 2, 3}, {1, 2}, {16, 24})};
}

/// Everything that could blur a comparison switched off.
CursorStyle plainStyle() {
    CursorStyle style;
    style.smoothing = CursorSmoothingPreset::off;
    style.trailStyle = CursorTrailStyle::none;
    style.hideWhenIdle = false;
    return style;
}

/// Bursts of pointer moves with pauses, so that windows are full, thin and empty; some times occur twice.
class RandomTake {
public:
    explicit RandomTake(std::uint32_t seed) : random_(seed) {}

    double between(double low, double high) { return std::uniform_real_distribution(low, high)(random_); }
    int below(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }
    template <typename Enum>
    Enum oneOf(int count) {
        return Enum(below(count));
    }

    EventTimeline events() {
        std::vector<MouseEvent> mouse;
        std::vector<CursorStateEvent> states;
        Vec2 place{0.5, 0.5};
        double time = between(-0.5, 1);
        for (int i = below(250); i > 0; --i) {
            const int gap = below(40);
            time += gap == 0 ? between(0.2, 2) : gap < 4 ? 0 : between(0.001, 0.03);
            const double reach = below(3) == 0 ? 0.05 : 0.0008;
            place = {std::clamp(place.x + between(-reach, reach), 0.0, 1.0),
                     std::clamp(place.y + between(-reach, reach), 0.0, 1.0)};
            const int kind = below(12);
            if (kind == 0) {
                const int button = below(5);
                mouse.push_back(clicked(time, place.x, place.y,
                                        button == 4 ? std::nullopt : std::optional<std::int64_t>(button)));
            } else {
                mouse.push_back(moved(time, place.x, place.y));
                mouse.back().kind = kind == 1 ? MouseEventKind::dragged : MouseEventKind::moved;
            }
            if (below(6) == 0) {
                states.push_back(seen(time + between(-0.01, 0.01), place.x + between(-0.001, 0.001), place.y,
                                      below(5) != 0));
            }
        }
        return EventTimeline(mouse, {}, states);
    }

    CursorStyle style() {
        CursorStyle style;
        style.sizeMultiplier = between(1, 2.5);
        style.smoothing = oneOf<CursorSmoothingPreset>(4);
        style.hideWhenIdle = below(3) != 0;
        style.clickHighlightStyle = oneOf<ClickHighlightStyle>(3);
        style.idleHideAfterSeconds = between(0.2, 1);
        style.bodyStyle = oneOf<CursorBodyStyle>(2);
        style.shakeReduction = below(3) == 0 ? 0 : between(0, 1);
        style.glyphStabilizationSeconds = below(3) == 0 ? 0 : between(0, 1.2);
        style.glyphSelectionMode =
            below(5) == 0 ? CursorGlyphSelectionMode::manual : CursorGlyphSelectionMode::automatic;
        style.selectedGlyph = CursorGlyphKind::openHand;
        style.clickHighlightDurationSeconds = between(0.02, 1.2);
        style.trailStyle = oneOf<CursorTrailStyle>(3);
        style.trailLengthSeconds = between(0, 1.2);
        style.trailIntensity = between(0, 1);
        style.idleFadeDurationSeconds = between(0, 1);
        return style;
    }

    /// Anywhere in the take and around it, at its events, and where they leave a window.
    double instant(const EventTimeline& events) {
        const auto& mouse = events.mouseEvents();
        if (mouse.empty() || below(2) == 0) {
            return between(-0.5, mouse.empty() ? 3 : mouse.back().timestamp + 3);
        }
        constexpr double windows[] = {0, 0.16, 0.35, 0.785, 1.045, 1.24};
        return mouse[std::size_t(below(int(mouse.size())))].timestamp + windows[below(6)];
    }

private:
    std::mt19937 random_;
};

void expectNear(const CursorFrameState& a, CursorFrameState b) {
    const auto numbers = [](const CursorFrameState& s) {
        std::vector<double> all{s.position.x,          s.position.y,          s.opacity,
                                s.highlightPosition.x, s.highlightPosition.y, s.highlightProgress,
                                s.highlightIntensity};
        for (const Vec2 point : s.trailPoints) {
            all.insert(all.end(), {point.x, point.y});
        }
        all.insert(all.end(), s.trailOpacities.begin(), s.trailOpacities.end());
        return all;
    };
    EXPECT_THAT(numbers(a), testing::Pointwise(testing::DoubleNear(1e-12), numbers(b)));
    b.position = a.position;
    b.opacity = a.opacity;
    b.highlightPosition = a.highlightPosition;
    b.highlightProgress = a.highlightProgress;
    b.highlightIntensity = a.highlightIntensity;
    b.trailPoints = a.trailPoints;
    b.trailOpacities = a.trailOpacities;
    EXPECT_EQ(a, b);
}

TEST(CursorRenderer, AgreesWithAWalkOverAllEvents) {
    for (std::uint32_t seed = 0; seed < 400; ++seed) {
        RandomTake take(seed);
        const EventTimeline events = take.events();
        const CursorStyle style = take.style();
        for (int i = 0; i < 25; ++i) {
            const double time = take.instant(events);
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", time " << time);
            expectNear(CursorRenderer::frameState(time, events, style),
                       test::plainCursor(time, events, style));
            if (HasFailure()) {
                return;
            }
        }
    }
}

TEST(CursorRenderer, TheFresherWitnessDecidesTheBase) {
    struct Case {
        const char* what;
        double stateTime;
        double stateX;
        double expectedX;
    };
    for (const Case& c :
         {Case{"state later and elsewhere", 1.0015, 0.6, 0.6}, Case{"too soon after", 1.0005, 0.6, 0.5},
          Case{"at the same place", 1.5, 0.5004, 0.5}, Case{"state earlier", 0.5, 0.6, 0.5}}) {
        const EventTimeline events({moved(1, 0.5, 0.5)}, {}, {seen(c.stateTime, c.stateX, 0.5)});
        EXPECT_EQ(CursorRenderer::frameState(2, events, plainStyle()).position.x, c.expectedX) << c.what;
    }
    EXPECT_EQ(
        CursorRenderer::frameState(2, EventTimeline({}, {}, {seen(1, 0.7, 0.8)}), plainStyle()).position,
        (Vec2{0.7, 0.8}));
}

TEST(CursorRenderer, AFrameStateSurvivesJson) {
    RandomTake take(3);
    const EventTimeline events = take.events();
    CursorStyle style;
    for (const CursorGlyphSelectionMode mode :
         {CursorGlyphSelectionMode::automatic, CursorGlyphSelectionMode::manual}) {
        style.glyphSelectionMode = mode;
        const CursorFrameState state =
            CursorRenderer::frameState(events.mouseEvents().back().timestamp, events, style);
        EXPECT_EQ(decodeDocument<CursorFrameState>(encodeDocument(state)), state);
        EXPECT_EQ(state.appearance.has_value(), mode == CursorGlyphSelectionMode::automatic);
    }
}

} // namespace
} // namespace tavrin
