#include "TavrinKit/Effects/CursorRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

using MouseEvents = std::span<const MouseEvent>;

/// The index of the last event that isn't later than `time`.
template <typename Event>
std::optional<std::size_t> lastIndex(double time, const std::vector<Event>& events) {
    const auto after = std::upper_bound(events.begin(), events.end(), time,
                                        [](double t, const Event& event) { return !(event.timestamp <= t); });
    return after == events.begin() ? std::nullopt : std::optional(std::size_t(after - events.begin() - 1));
}

/// The index of the first event that isn't earlier than `time`, but at most `upperBound`.
std::size_t lowerBound(double time, const std::vector<MouseEvent>& events, std::size_t upperBound) {
    const auto end = events.begin() + std::ptrdiff_t(upperBound);
    return std::size_t(
        std::lower_bound(events.begin(), end, time,
                         [](const MouseEvent& event, double t) { return event.timestamp < t; }) -
        events.begin());
}

/// The events up to an instant, and the windows that look back from it.
class LookBack {
public:
    LookBack(double time, const EventTimeline& events)
        : time_(time), mouseEvents_(events.mouseEvents()),
          mouseIndex_(lastIndex(time, events.mouseEvents())) {
        if (const auto index = lastIndex(time, events.cursorStates())) {
            lastState_ = &events.cursorStates()[*index];
        }
    }

    [[nodiscard]] double time() const { return time_; }
    [[nodiscard]] const MouseEvent* lastMouse() const {
        return mouseIndex_ ? &mouseEvents_[*mouseIndex_] : nullptr;
    }
    [[nodiscard]] const CursorStateEvent* lastState() const { return lastState_; }

    /// The mouse events of the last `seconds`, both ends included, oldest first; empty when all are older.
    [[nodiscard]] MouseEvents window(double seconds) const {
        if (!mouseIndex_) {
            return {};
        }
        const double start = atLeast(time_ - seconds, 0);
        const std::size_t first = lowerBound(start, mouseEvents_, *mouseIndex_);
        if (mouseEvents_[first].timestamp < start) {
            return {};
        }
        return MouseEvents(mouseEvents_).subspan(first, *mouseIndex_ - first + 1);
    }

private:
    double time_;
    const std::vector<MouseEvent>& mouseEvents_;
    std::optional<std::size_t> mouseIndex_;
    const CursorStateEvent* lastState_ = nullptr;
};

// Position

double smoothingWindow(double alpha) {
    return alpha <= 0 ? 1.5 : (1 - alpha) * 1.3 + 0.2;
}

/// Expects a mouse event. A low-pass filter, run afresh over the window.
Vec2 smoothedPosition(const LookBack& past, double alpha) {
    if (alpha >= 1) {
        return past.lastMouse()->location;
    }
    const MouseEvents events = past.window(smoothingWindow(alpha));
    if (events.empty()) {
        return past.lastMouse()->location;
    }
    Vec2 smoothed = events.front().location;
    for (const MouseEvent& event : events.subspan(1)) {
        smoothed = smoothed * (1 - alpha) + event.location * alpha;
    }
    return smoothed;
}

double squaredDistance(Vec2 a, Vec2 b) {
    const Vec2 d = a - b;
    return d.x * d.x + d.y * d.y;
}

/// Whether the cursor state saw the pointer elsewhere, later than any mouse event did.
bool stateIsFresher(const CursorStateEvent& state, const MouseEvent& mouse) {
    constexpr double leastAge = 0.001;
    constexpr double leastSquaredDistance = 2.5e-07;
    return mouse.timestamp + leastAge <= state.timestamp &&
           squaredDistance(mouse.location, state.location) > leastSquaredDistance;
}

Vec2 basePosition(const LookBack& past, double alpha) {
    const CursorStateEvent* state = past.lastState();
    if (state != nullptr && (past.lastMouse() == nullptr || stateIsFresher(*state, *past.lastMouse()))) {
        return state->location;
    }
    return smoothedPosition(past, alpha);
}

Vec2 meanLocation(MouseEvents events) {
    Vec2 sum;
    for (const MouseEvent& event : events) {
        sum = sum + event.location;
    }
    const double count = double(events.size());
    return {sum.x / count, sum.y / count};
}

/// Pulls the position of a pointer that only trembles toward the middle of its trembling.
Vec2 stabilizedPosition(const LookBack& past, Vec2 base, double shakeReduction) {
    constexpr double windowSeconds = 0.16;
    if (!(shakeReduction > 0.001)) {
        return base;
    }
    const MouseEvents events = past.window(windowSeconds);
    if (events.size() < 3) {
        return base;
    }
    const Vec2 mean = meanLocation(events);
    const double limit = shakeReduction * 0.012 + 0.0015;
    const bool isTrembling = std::all_of(events.begin(), events.end(), [&](const MouseEvent& event) {
        return std::sqrt(squaredDistance(event.location, mean)) <= limit;
    });
    return isTrembling ? base + (mean - base) * (shakeReduction * 0.65 + 0.35) : base;
}

// Idle fade

double opacity(const LookBack& past, const CursorStyle& style) {
    constexpr double shortestFade = 0.05;
    if (!style.hideWhenIdle) {
        return 1;
    }
    const double lastMouseTime = past.lastMouse() != nullptr ? past.lastMouse()->timestamp : 0;
    const double lastStateTime = past.lastState() != nullptr ? past.lastState()->timestamp : 0;
    const double idle = atLeast(past.time() - std::max(lastMouseTime, lastStateTime), 0);
    if (!(idle > style.idleHideAfterSeconds)) {
        return 1;
    }
    return clampedTo(
        1 - (idle - style.idleHideAfterSeconds) / atLeast(style.idleFadeDurationSeconds, shortestFade), 0, 1);
}

// Glyph

CursorGlyphKind glyphOfButton(std::optional<std::int64_t> button) {
    switch (button.value_or(0)) {
    case 1:
        return CursorGlyphKind::crosshair;
    case 2:
        return CursorGlyphKind::iBeam;
    default:
        return CursorGlyphKind::pointingHand;
    }
}

/// What the last action within the window looks like; an arrow without any.
CursorGlyphKind heuristicGlyph(const LookBack& past, double windowSeconds) {
    const MouseEvents events = past.window(windowSeconds);
    for (auto event = events.rbegin(); event != events.rend(); ++event) {
        if (event->kind == MouseEventKind::dragged) {
            return CursorGlyphKind::crosshair;
        }
        if (event->kind == MouseEventKind::clicked) {
            return glyphOfButton(event->button);
        }
    }
    return CursorGlyphKind::arrow;
}

CursorGlyphKind glyph(const LookBack& past, const CursorStyle& style) {
    constexpr double windowSeconds = 0.35;
    if (style.glyphSelectionMode == CursorGlyphSelectionMode::manual) {
        return style.selectedGlyph;
    }
    if (past.lastMouse() == nullptr) {
        return CursorGlyphKind::arrow;
    }
    const CursorGlyphKind found = heuristicGlyph(past, windowSeconds);
    return found == CursorGlyphKind::arrow && style.glyphStabilizationSeconds > 0.001
               ? heuristicGlyph(past, style.glyphStabilizationSeconds)
               : found;
}

// Click highlight

/// Expects the position to be set: it is where the highlight lies as long as there is no click.
void addHighlight(CursorFrameState& state, const LookBack& past, const CursorStyle& style) {
    constexpr double shortestHighlight = 0.08;
    state.highlightPosition = state.position;
    const double duration = atLeast(style.clickHighlightDurationSeconds, shortestHighlight);
    const MouseEvents events = past.window(duration);
    const auto click = std::find_if(events.rbegin(), events.rend(), [](const MouseEvent& event) {
        return event.kind == MouseEventKind::clicked;
    });
    if (click == events.rend()) {
        return;
    }
    state.highlightPosition = click->location;
    const double envelope = clampedTo(1 - (past.time() - click->timestamp) / duration, 0, 1);
    if (style.clickHighlightStyle != ClickHighlightStyle::none && envelope > 0) {
        state.highlight = style.clickHighlightStyle;
        state.highlightProgress = envelope;
        state.highlightIntensity = clampedTo(style.clickHighlightIntensity, 0, 1);
    }
}

// Trail

struct TrailShape {
    std::size_t maximumSamples;
    double ageExponent;
    double strengthFactor;
};

std::optional<TrailShape> trailShape(CursorTrailStyle style) {
    switch (style) {
    case CursorTrailStyle::none:
        return std::nullopt;
    case CursorTrailStyle::subtle:
        return TrailShape{8, 1.8, 0.75};
    case CursorTrailStyle::dynamic:
        return TrailShape{14, 1.2, 1.0};
    }
    return std::nullopt;
}

struct TrailSample {
    Vec2 point;
    double opacity = 0;
};

/// The events and, as the last sample, the head: thinned evenly to `maximumSamples`, oldest and head kept.
template <typename Strength>
InlineVector<TrailSample, maximumCursorTrailPoints> sampledTrail(MouseEvents events, const TrailSample& head,
                                                                 std::size_t maximumSamples,
                                                                 const Strength& strength) {
    const std::size_t count = events.size() + 1;
    const std::size_t kept = std::min(count, maximumSamples);
    InlineVector<TrailSample, maximumCursorTrailPoints> samples;
    for (std::size_t i = 0; i + 1 < kept; ++i) {
        const double position = double(i) * double(count - 1) / double(kept - 1);
        const MouseEvent& event = events[std::min(std::size_t(std::round(position)), events.size() - 1)];
        samples.push_back({event.location, strength(event)});
    }
    samples.push_back(head);
    return samples;
}

/// Expects the position to be set: it is the head of the trail.
///
/// The strength of an event falls with its age, so the ones above the floor are the youngest of the window:
/// the oldest of them is found by bisection, and only the ones that are kept are looked at.
void addTrail(CursorFrameState& state, const LookBack& past, const CursorStyle& style) {
    constexpr double strengthFloor = 0.015;
    const std::optional<TrailShape> shape = trailShape(style.trailStyle);
    if (past.lastMouse() == nullptr || !shape || !(style.trailIntensity > 0.001) ||
        !(style.trailLengthSeconds > 0.01)) {
        return;
    }
    const double intensity = clampedTo(style.trailIntensity, 0, 1);
    const auto strength = [&](const MouseEvent& event) {
        const double age = (past.time() - event.timestamp) / style.trailLengthSeconds;
        return std::pow(clampedTo(1 - age, 0, 1), shape->ageExponent) * intensity * shape->strengthFactor *
               state.opacity;
    };
    const MouseEvents events = past.window(style.trailLengthSeconds);
    const auto oldest = std::partition_point(events.begin(), events.end(), [&](const MouseEvent& event) {
        return !(strength(event) > strengthFloor);
    });
    const TrailSample head{state.position, clampedTo(state.opacity * intensity, 0, 1)};
    for (const TrailSample& sample :
         sampledTrail({oldest, events.end()}, head, shape->maximumSamples, strength)) {
        state.trailPoints.push_back(sample.point);
        state.trailOpacities.push_back(sample.opacity);
    }
}

/// What a style passes through whatever the events say.
CursorFrameState stateOfStyle(const CursorStyle& style) {
    CursorFrameState state;
    state.sizeMultiplier = std::isfinite(style.sizeMultiplier) ? style.sizeMultiplier : 1;
    state.bodyStyle = style.bodyStyle;
    return state;
}

CursorFrameState stateWithoutEvents(const CursorStyle& style) {
    CursorFrameState state = stateOfStyle(style);
    state.visible = !style.hideWhenIdle;
    state.opacity = style.hideWhenIdle ? 0 : 1;
    return state;
}

} // namespace

CursorFrameState CursorRenderer::frameState(double time, const EventTimeline& events,
                                            const CursorStyle& style) {
    constexpr double leastVisibleOpacity = 0.01;
    const LookBack past(time, events);
    if (past.lastMouse() == nullptr && past.lastState() == nullptr) {
        return stateWithoutEvents(style);
    }
    const double idleOpacity = opacity(past, style);
    const bool shown = past.lastState() == nullptr || past.lastState()->visible;

    CursorFrameState state = stateOfStyle(style);
    state.position = stabilizedPosition(past, basePosition(past, alpha(style.smoothing)),
                                        clampedTo(style.shakeReduction, 0, 1));
    state.opacity = shown ? idleOpacity : 0;
    state.visible = shown && idleOpacity > leastVisibleOpacity;
    state.glyph = glyph(past, style);
    addHighlight(state, past, style);
    addTrail(state, past, style);
    if (style.glyphSelectionMode == CursorGlyphSelectionMode::automatic &&
        style.bodyStyle == CursorBodyStyle::pointer && past.lastState() != nullptr) {
        state.appearance = past.lastState()->appearance;
    }
    return state;
}

} // namespace tavrin
