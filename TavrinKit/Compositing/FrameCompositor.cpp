#include "TavrinKit/Compositing/FrameCompositor.h"

#include <utility>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/OverlayMapping.h"
#include "TavrinKit/Compositing/TemporalMotionBlur.h"
#include "TavrinKit/Effects/CursorPlaybackSupport.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Effects/TypingRenderer.h"

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
      typingBursts_(inputs_.events->keyEvents(), inputs_.timeline.typingTrack.style.burstGapSeconds),
      framing_(inputs_.timeline.framingTrack.style, inputs_.packageRoot), cameraPiP_(inputs_.camera),
      annotations_(inputs_.timeline.annotationTrack, inputs_.timeline.cropTrack.region,
                   inputs_.timeline.framingTrack.style, inputs_.packageRoot),
      watermark_(inputs_.timeline.watermarkTrack.style, inputs_.packageRoot) {}

Image FrameCompositor::compose(double editedTime, const Image& source) const {
    const TimelineModel& timeline = inputs_.timeline;
    const CropRegion& crop = timeline.cropTrack.region;
    const double sourceTime = inputs_.timeMapper.sourceTime(editedTime);
    const CameraTransform camera = cameraAnimator_.transform(sourceTime, timeline.zoomTrack);

    const Image zoomed = blurredOrZoomed(editedTime, source, camera);
    const Image cropped = applyCrop(zoomed, crop);
    const Image framed = framing_.applyFraming(cropped);
    const Rect output{0, 0, double(inputs_.outputSize.width), double(inputs_.outputSize.height)};
    const Rect seen = seenPart(framed.extent(), output);
    const PixelGrid grid = PixelGrid::of(framed.extent(), output);
    const OverlayMapping mapping(source.extent(), camera, crop, framed.extent(), framing_.style());

    Image frame = cameraPiP_ ? cameraPiP_->overlayCameraPiP(framed, sourceTime, camera, seen) : framed;
    frame = cursor_.overlayCursor(frame, cursorState(sourceTime), mapping);
    frame = typing_.overlayTyping(frame, typingState(sourceTime), seen, grid);
    frame = annotations_.overlayAnnotations(frame, sourceTime, grid);
    frame = watermark_.overlayWatermark(frame, seen, grid);
    return renderToOutput(frame, output);
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
    return CursorPlaybackSupport::frameState(sourceTime, *inputs_.events, inputs_.timeline.cursorTrack.style,
                                             inputs_.timeline.zoomTrack,
                                             {.duration = inputs_.sourceDuration,
                                              .lastActivity = lastActivity_,
                                              .sourceEmbedsCursor = inputs_.sourceEmbedsCursor});
}

TypingFrameState FrameCompositor::typingState(double sourceTime) const {
    return TypingRenderer::frameState(sourceTime, *inputs_.events, inputs_.timeline.typingTrack.style,
                                      typingBursts_);
}

} // namespace tavrin
