#include "TavrinKit/Effects/EffectGraphRenderer.h"

#include <cstdint>

#include "TavrinKit/Effects/CursorPlaybackSupport.h"
#include "TavrinKit/Effects/FrameTimes.h"
#include "TavrinKit/Effects/FramingRenderer.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Effects/TypingRenderer.h"
#include "TavrinKit/Project/TavrinConstants.h"

namespace tavrin {

std::vector<RenderFrame> EffectGraphRenderer::renderPlan(const RenderRequest& request) const {
    static const EventTimeline noEvents;
    const EventTimeline& events = request.events ? *request.events : noEvents;
    const TimelineModel& timeline = request.timeline;
    const TypingStyle& typingStyle = timeline.typingTrack.style;

    const FramingRenderState framing = FramingRenderer::state(timeline.framingTrack);
    const MotionBlurPlan motionBlur =
        MotionBlurEngine::plan(timeline.motionBlurStyle, request.blurMode, TavrinConstants::defaultFPS);
    const CursorPlaybackSupport::Playback playback{.duration = request.duration,
                                                   .lastActivity =
                                                       CursorPlaybackSupport::lastActivityTime(events),
                                                   .sourceEmbedsCursor = request.sourceEmbedsCursor};
    const TypingBursts bursts(events.keyEvents(), typingStyle.burstGapSeconds);

    const FrameTimes times(request.duration, request.viewport.fps);
    std::vector<RenderFrame> frames;
    frames.reserve(std::size_t(times.count()));
    for (std::int64_t i = 0; i < times.count(); ++i) {
        const double time = times.time(i);
        frames.push_back({.time = time,
                          .camera = cameraAnimator_.transform(time, timeline.zoomTrack),
                          .cursor = CursorPlaybackSupport::frameState(
                              time, events, timeline.cursorTrack.style, timeline.zoomTrack, playback),
                          .typing = TypingRenderer::frameState(time, events, typingStyle, bursts),
                          .framing = framing,
                          .motionBlur = motionBlur});
    }
    return frames;
}

std::vector<double> EffectGraphRenderer::makeFrameTimes(double duration, double fps) {
    const FrameTimes frameTimes(duration, fps);
    std::vector<double> times;
    times.reserve(std::size_t(frameTimes.count()));
    for (std::int64_t i = 0; i < frameTimes.count(); ++i) {
        times.push_back(frameTimes.time(i));
    }
    return times;
}

} // namespace tavrin
