#include "TavrinKit/Effects/CursorPlaybackSupport.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Effects/CursorRenderer.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/ZoomTrack.h"

namespace tavrin {
namespace {

constexpr double shortestLoop = 0.12;

/// The last stretch of activity over and over, from `lastActivity` on.
double loopedTime(double time, double lastActivity, double endLoopDuration) {
    const double length =
        std::min(atLeast(endLoopDuration, shortestLoop), atLeast(lastActivity, shortestLoop));
    const double start = atLeast(lastActivity - length, 0);
    const double phase = std::fmod(time - lastActivity, length);
    return std::isfinite(phase) ? start + phase : start;
}

bool zoomsAt(double time, const ZoomSegment& segment) {
    constexpr double leastScale = 1.0001;
    return segment.enabled && segment.scale > leastScale && segment.startTime <= time &&
           segment.endTime >= time;
}

/// Body, highlight and trail go.
void hide(CursorFrameState& cursor) {
    cursor.visible = false;
    cursor.opacity = 0;
    cursor.highlight = ClickHighlightStyle::none;
    cursor.highlightProgress = 0;
    cursor.highlightIntensity = 0;
    cursor.trailPoints.clear();
    cursor.trailOpacities.clear();
}

} // namespace

CursorFrameState CursorPlaybackSupport::frameState(double frameTime, const EventTimeline& events,
                                                   const CursorStyle& style, const ZoomTrack& track,
                                                   const Playback& playback) {
    const double time = cursorTime(frameTime, playback.duration, playback.lastActivity, style);
    CursorFrameState state = CursorRenderer::frameState(time, events, style);
    const auto zooms = [frameTime](const ZoomSegment& segment) {
        return zoomsAt(frameTime, segment); // by the frame's own time, not the cursor's
    };
    if (style.hideDuringZoomSegments && !playback.sourceEmbedsCursor &&
        std::ranges::any_of(track.segments, zooms)) {
        hide(state);
    }
    state.bodyVisible = !playback.sourceEmbedsCursor;
    return state;
}

std::optional<double> CursorPlaybackSupport::lastActivityTime(const EventTimeline& events) {
    std::optional<double> last;
    if (!events.mouseEvents().empty()) {
        last = events.mouseEvents().back().timestamp;
    }
    if (!events.cursorStates().empty()) {
        const double lastState = events.cursorStates().back().timestamp;
        last = last ? std::max(*last, lastState) : lastState;
    }
    return last;
}

double CursorPlaybackSupport::cursorTime(double frameTime, double duration,
                                         std::optional<double> lastActivity, const CursorStyle& style) {
    const double time = clampedTo(frameTime, 0, atLeast(duration, 0));
    if (!lastActivity || time <= *lastActivity) {
        return time;
    }
    switch (style.endBehavior) {
    case CursorEndBehavior::natural:
        return time;
    case CursorEndBehavior::stop:
        return *lastActivity;
    case CursorEndBehavior::loopTail:
        return loopedTime(time, *lastActivity, style.endLoopDurationSeconds);
    }
    return time;
}

} // namespace tavrin
