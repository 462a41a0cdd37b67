#include "TavrinKit/Compositing/FrameCompositor.h"

#include <utility>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/OverlayMapping.h"
#include "TavrinKit/Compositing/TemporalMotionBlur.h"
#include "TavrinKit/Effects/CursorPlaybackSupport.h"
#include "TavrinKit/Effects/CursorRenderer.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"

namespace tavrin {
namespace {

FrameCompositor::Inputs completed(FrameCompositor::Inputs inputs) {
    if (!inputs.events) {
        inputs.events = std::make_shared<const EventTimeline>();
    }
    return inputs;
}

} // namespace

FrameCompositor::FrameCompositor(Inputs inputs)
    : inputs_(completed(std::move(inputs))),
      lastActivity_(CursorPlaybackSupport::lastActivityTime(*inputs_.events)),
      framing_(inputs_.timeline.framingTrack.style, inputs_.packageRoot) {}

Image FrameCompositor::compose(double editedTime, const Image& source) const {
    const TimelineModel& timeline = inputs_.timeline;
    const CropRegion& crop = timeline.cropTrack.region;
    const double sourceTime = inputs_.timeMapper.sourceTime(editedTime);
    const CameraTransform camera = cameraAnimator_.transform(sourceTime, timeline.zoomTrack);

    const Image zoomed = blurredOrZoomed(editedTime, source, camera);
    const Image cropped = applyCrop(zoomed, crop);
    const Image framed = framing_.applyFraming(cropped);
    const OverlayMapping mapping(source.extent(), camera, crop, framed.extent(), framing_.style());
    const Image withCursor = cursor_.overlayCursor(framed, cursorState(sourceTime), mapping);
    return renderToOutput(withCursor,
                          {0, 0, double(inputs_.outputSize.width), double(inputs_.outputSize.height)});
}

Image FrameCompositor::blurredOrZoomed(double editedTime, const Image& source,
                                       const CameraTransform& camera) const {
    if (!inputs_.motionBlur) {
        return applyCamera(source, camera);
    }
    const MotionBlurPlan& plan = inputs_.motionBlur->plan;
    if (!(plan.intensity > 0) || plan.temporalOffsets.size() < 2) {
        return applyCamera(source, camera);
    }
    const auto times = MotionBlurEngine::sampleTimes(editedTime, inputs_.timeMapper.editedDuration(), plan);
    return applyTemporalMotionBlur(source, editedTime, times,
                                   {.sampler = inputs_.motionBlur->sampler.get(),
                                    .zoomTrack = inputs_.timeline.zoomTrack,
                                    .timeMapper = inputs_.timeMapper,
                                    .cameraAnimator = cameraAnimator_});
}

CursorFrameState FrameCompositor::cursorState(double sourceTime) const {
    const CursorStyle& style = inputs_.timeline.cursorTrack.style;
    const double cursorTime =
        CursorPlaybackSupport::cursorTime(sourceTime, inputs_.sourceDuration, lastActivity_, style);
    CursorFrameState state = CursorRenderer::frameState(cursorTime, *inputs_.events, style);
    CursorPlaybackSupport::hideDuringZoom(state, sourceTime, inputs_.timeline.zoomTrack, style,
                                          inputs_.sourceEmbedsCursor);
    state.bodyVisible = !inputs_.sourceEmbedsCursor;
    return state;
}

} // namespace tavrin
