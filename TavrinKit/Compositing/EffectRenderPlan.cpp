#include "TavrinKit/Compositing/EffectRenderPlan.h"

#include <memory>
#include <utility>

#include "TavrinKit/Compositing/CameraComposite.h"
#include "TavrinKit/Compositing/FrameCompositor.h"
#include "TavrinKit/Compositing/PlannedMedia.h"
#include "TavrinKit/Compositing/SourcePreparing.h"
#include "TavrinKit/Compositing/SourceTiming.h"
#include "TavrinKit/Effects/MotionBlurEngine.h"
#include "TavrinKit/Project/PlaybackTrim.h"
#include "TavrinKit/Project/TavrinConstants.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

/// The edits on the clock of what is left after the trim.
struct PlannedEdit {
    TimelineModel timeline;
    std::shared_ptr<const EventTimeline> events;
    double sourceStart = 0; ///< of the clock within the untrimmed take
};

std::optional<ClipTimeRange> activeTrim(const TimelineModel& timeline, double sourceDuration) {
    const ClipTimeRange range =
        PlaybackTrim::resolvedRange(timeline, sourceDuration, TavrinConstants::minimumTrimDuration);
    return PlaybackTrim::isActive(range, sourceDuration) ? std::optional(range) : std::nullopt;
}

Size2D sourceSizeOf(const MediaAsset& asset) {
    const PixelSize size = asset.videoTrack().displaySize;
    return {double(size.width), double(size.height)};
}

PlannedEdit makePlannedEdit(const EditorSession& session, Size2D sourceSize, const ExportPreset& preset,
                            const std::optional<ClipTimeRange>& trim) {
    TimelineModel timeline = session.prepareReframedTimeline(sourceSize, preset.aspect);
    if (!trim) {
        return {std::move(timeline), session.sharedEvents()};
    }
    return {PlaybackTrim::trimmedTimeline(timeline, *trim),
            std::make_shared<const EventTimeline>(PlaybackTrim::trimmedEvents(session.events(), *trim)),
            trim->startTime};
}

MotionBlurPlan makeMotionBlurPlan(const TimelineModel& timeline, const ExportPreset& preset) {
    const bool isPreview = preset.mode == ExportSpeedQualityMode::fastPreview;
    return MotionBlurEngine::plan(timeline.motionBlurStyle,
                                  isPreview ? MotionBlurQualityMode::preview : MotionBlurQualityMode::export_,
                                  preset.fps);
}

std::optional<FrameCompositor::MotionBlur> makeMotionBlur(const MotionBlurPlan& plan,
                                                          const MediaAsset& editedAsset,
                                                          const TemporalFrameSampler::Options& options) {
    if (!(plan.intensity > 0) || plan.temporalOffsets.size() < 2) {
        return std::nullopt;
    }
    return FrameCompositor::MotionBlur{plan,
                                       std::make_shared<const TemporalFrameSampler>(editedAsset, options)};
}

VideoComposition makeComposition(const EditorSession& session, const ExportPreset& preset,
                                 const MediaAsset& editedAsset, const PlannedEdit& edit,
                                 const TimelineTimeMapper& timeMapper, const SampledSources& sources) {
    const PixelSize renderSize{preset.resolution.width, preset.resolution.height};
    const auto compositor = std::make_shared<const FrameCompositor>(FrameCompositor::Inputs{
        .events = edit.events,
        .timeline = edit.timeline,
        .timeMapper = timeMapper,
        .sourceDuration = timeMapper.sourceDuration(),
        .sourceEmbedsCursor = !session.package().manifest().cursorExcluded,
        .packageRoot = session.package().rootURL(),
        .motionBlur = sources.motionBlur,
        .camera = sources.camera,
        .outputSize = renderSize,
    });
    return {renderSize, preset.wholeFramesPerSecond(),
            [compositor](const CompositionRequest& request) {
                return compositor->compose(request.time, request.source);
            },
            sourceOpener(editedAsset, timeMapper, sources)};
}

} // namespace

EffectRenderPlan makeEffectRenderPlan(const EditorSession& session, const ExportPreset& preset,
                                      const std::stop_token& stop) {
    throwIfCancelled(stop);
    const ProjectPackage& package = session.package();
    PlannedMedia media = openRecording(package);
    const auto trim = activeTrim(session.edits().timeline, media.asset.duration());
    if (trim) {
        media = makeTrimmedComposition(std::move(media), *trim);
    }
    const SourceTiming timing = SourceTiming::of(media.asset, TavrinConstants::defaultFPS);
    throwIfCancelled(stop);

    const PlannedEdit edit = makePlannedEdit(session, sourceSizeOf(media.asset), preset, trim);
    const TimelineModel& timeline = edit.timeline;
    const TimelineTimeMapper timeMapper(media.asset.duration(), timeline.speedTrack.regions);
    media = makeEditedComposition(std::move(media), timeMapper, timeline.extraAudioTrack, package.rootURL());
    throwIfCancelled(stop);

    const SampledSources sources{
        makeMotionBlur(makeMotionBlurPlan(timeline, preset), media.asset,
                       timing.samplerOptions(media.asset.duration(), trim || isRetimed(timeMapper))),
        makeCameraCompositeContext(package, timeline.cameraPiPTrack.style, TavrinConstants::defaultFPS,
                                   edit.sourceStart)};
    EffectRenderPlan plan{
        media.asset, makeComposition(session, preset, media.asset, edit, timeMapper, sources), {}};
    if (!media.audioTracks.empty()) {
        plan.audioMix = makeAudioMix(media.audioTracks, timeline.audioMix, media.asset.duration());
    }
    return plan;
}

} // namespace tavrin
