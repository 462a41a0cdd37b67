#include "PlainCursor.h"

#include <cmath>
#include <optional>
#include <vector>

namespace tavrin::test {
namespace {

using Mouse = std::vector<MouseEvent>;

Mouse eventsWithin(double seconds, double time, const EventTimeline& events) {
    Mouse result;
    for (const MouseEvent& event : events.mouseEvents()) {
        if (event.timestamp <= time && event.timestamp >= std::max(time - seconds, 0.0)) {
            result.push_back(event);
        }
    }
    return result;
}

Vec2 smoothed(double time, const EventTimeline& events, const MouseEvent& last, double gain) {
    if (gain >= 1) {
        return last.location;
    }
    std::optional<Vec2> value;
    for (const MouseEvent& event : eventsWithin((1 - gain) * 1.3 + 0.2, time, events)) {
        value = value ? Vec2{value->x * (1 - gain) + event.location.x * gain,
                             value->y * (1 - gain) + event.location.y * gain}
                      : event.location;
    }
    return value.value_or(last.location);
}

Vec2 steadied(Vec2 base, double time, const EventTimeline& events, double reduction) {
    const Mouse recent = eventsWithin(0.16, time, events);
    if (reduction <= 0.001 || recent.size() < 3) {
        return base;
    }
    Vec2 mean;
    for (const MouseEvent& event : recent) {
        mean = mean + event.location * (1.0 / double(recent.size()));
    }
    double radius = 0;
    for (const MouseEvent& event : recent) {
        radius = std::max(radius, std::hypot(event.location.x - mean.x, event.location.y - mean.y));
    }
    const double pull = reduction * 0.65 + 0.35;
    return radius > reduction * 0.012 + 0.0015
               ? base
               : Vec2{base.x + (mean.x - base.x) * pull, base.y + (mean.y - base.y) * pull};
}

CursorGlyphKind actionGlyph(const Mouse& recent) {
    CursorGlyphKind result = CursorGlyphKind::arrow;
    for (const MouseEvent& event : recent) {
        if (event.kind == MouseEventKind::dragged ||
            (event.kind == MouseEventKind::clicked && event.button == 1)) {
            result = CursorGlyphKind::crosshair;
        } else if (event.kind == MouseEventKind::clicked) {
            result = event.button == 2 ? CursorGlyphKind::iBeam : CursorGlyphKind::pointingHand;
        }
    }
    return result;
}

void trail(CursorFrameState& state, double time, const EventTimeline& events, const CursorStyle& style) {
    const bool dynamic = style.trailStyle == CursorTrailStyle::dynamic;
    std::vector<Vec2> points;
    std::vector<double> opacities;
    for (const MouseEvent& event : eventsWithin(style.trailLengthSeconds, time, events)) {
        const double youth = std::max(0.0, 1 - (time - event.timestamp) / style.trailLengthSeconds);
        const double strength = std::pow(youth, dynamic ? 1.2 : 1.8) * style.trailIntensity *
                                (dynamic ? 1.0 : 0.75) * state.opacity;
        if (strength > 0.015) {
            points.push_back(event.location);
            opacities.push_back(strength);
        }
    }
    points.push_back(state.position);
    opacities.push_back(state.opacity * style.trailIntensity);
    const std::size_t most = dynamic ? 14 : 8;
    for (std::size_t i = 0; i < std::min(points.size(), most); ++i) {
        const double step = double(points.size() - 1) / double(most - 1);
        const std::size_t index = points.size() > most ? std::size_t(std::lround(double(i) * step)) : i;
        state.trailPoints.push_back(points[index]);
        state.trailOpacities.push_back(opacities[index]);
    }
}

} // namespace

CursorFrameState plainCursor(double time, const EventTimeline& events, const CursorStyle& style) {
    std::optional<MouseEvent> mouse;
    for (const MouseEvent& event : events.mouseEvents()) {
        mouse = event.timestamp <= time ? event : mouse;
    }
    std::optional<CursorStateEvent> seen;
    for (const CursorStateEvent& event : events.cursorStates()) {
        seen = event.timestamp <= time ? event : seen;
    }
    CursorFrameState state;
    state.sizeMultiplier = style.sizeMultiplier;
    state.bodyStyle = style.bodyStyle;
    if (!mouse && !seen) {
        state.visible = !style.hideWhenIdle;
        state.opacity = style.hideWhenIdle ? 0 : 1;
        return state;
    }
    Vec2 base = seen ? seen->location : Vec2{};
    if (mouse) {
        const bool elsewhere =
            seen && (mouse->location.x - seen->location.x) * (mouse->location.x - seen->location.x) +
                            (mouse->location.y - seen->location.y) * (mouse->location.y - seen->location.y) >
                        2.5e-7;
        if (!seen || mouse->timestamp + 0.001 > seen->timestamp || !elsewhere) {
            base = smoothed(time, events, *mouse, alpha(style.smoothing));
        }
        base = steadied(base, time, events, style.shakeReduction);
    }
    state.position = base;

    const double idle = time - std::max(mouse ? mouse->timestamp : 0.0, seen ? seen->timestamp : 0.0);
    const double fade = std::max(style.idleFadeDurationSeconds, 0.05);
    const double awake = style.hideWhenIdle && idle > style.idleHideAfterSeconds
                             ? std::clamp(1 - (idle - style.idleHideAfterSeconds) / fade, 0.0, 1.0)
                             : 1;
    const bool hidden = seen && !seen->visible;
    state.opacity = hidden ? 0 : awake;
    state.visible = !hidden && awake > 0.01;

    const bool manual = style.glyphSelectionMode == CursorGlyphSelectionMode::manual;
    state.glyph = actionGlyph(eventsWithin(0.35, time, events));
    if (state.glyph == CursorGlyphKind::arrow && style.glyphStabilizationSeconds > 0.001) {
        state.glyph = actionGlyph(eventsWithin(style.glyphStabilizationSeconds, time, events));
    }
    state.glyph = manual ? style.selectedGlyph : state.glyph;

    state.highlightPosition = state.position;
    const double glow = std::max(style.clickHighlightDurationSeconds, 0.08);
    for (const MouseEvent& event : eventsWithin(glow, time, events)) {
        if (event.kind == MouseEventKind::clicked) {
            const double progress = std::clamp(1 - (time - event.timestamp) / glow, 0.0, 1.0);
            const bool live = style.clickHighlightStyle != ClickHighlightStyle::none && progress > 0;
            state.highlight = live ? style.clickHighlightStyle : ClickHighlightStyle::none;
            state.highlightProgress = live ? progress : 0;
            state.highlightIntensity = live ? style.clickHighlightIntensity : 0;
            state.highlightPosition = event.location;
        }
    }
    if (mouse && style.trailStyle != CursorTrailStyle::none && style.trailIntensity > 0.001 &&
        style.trailLengthSeconds > 0.01) {
        trail(state, time, events, style);
    }
    if (seen && !manual && style.bodyStyle == CursorBodyStyle::pointer) {
        state.appearance = seen->appearance;
    }
    return state;
}

} // namespace tavrin::test
