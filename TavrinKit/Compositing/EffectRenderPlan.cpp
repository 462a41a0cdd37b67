#include "TavrinKit/Compositing/EffectRenderPlan.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "TavrinKit/Compositing/EffectBakingError.h"
#include "TavrinKit/Compositing/ExportError.h"
#include "TavrinKit/Compositing/FrameCompositor.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

MediaAsset openScreenMovie(const ProjectPackage& package) {
    try {
        MediaAsset asset = MediaAsset::open(package.screenURL());
        if (!asset.hasVideo()) {
            throw MediaError::noVideoTrack(asset.path());
        }
        return asset;
    } catch (...) {
        throw ExportError::exportFailed(std::current_exception());
    }
}

/// Less than half a frame at both ends counts as no trim.
bool isTrimmed(const TimelineModel& timeline, double duration) {
    constexpr double epsilon = 1.0 / 120;
    return timeline.trimRange &&
           (timeline.trimRange->startTime > epsilon || timeline.trimRange->endTime < duration - epsilon);
}

/// What would be missing in the movie without a word.
void refuseUnsupportedEdits(const TimelineModel& timeline, const ProjectPackage& package, double duration) {
    const auto refuseIf = [](bool present, const char* edit) {
        if (present) {
            throw EffectBakingError::unsupportedEdit(edit);
        }
    };
    refuseIf(isTrimmed(timeline, duration), "Trims");
    refuseIf(!timeline.speedTrack.regions.empty(), "Speed changes");
    refuseIf(!timeline.extraAudioTrack.regions.empty(), "Extra sound tracks");
    refuseIf(timeline.cameraPiPTrack.style.enabled && !package.manifest().cameraTracks.empty(),
             "Camera pictures");
    refuseIf(!timeline.annotationTrack.regions.empty(), "Annotations");
    refuseIf(timeline.watermarkTrack.style.enabled, "Watermarks");
}

PixelSize pixelSizeOf(const ExportResolution& resolution) {
    return {resolution.width, resolution.height};
}

Size2D displaySizeOf(const MediaAsset& asset) {
    const PixelSize size = asset.videoTrack().displaySize;
    return {double(size.width), double(size.height)};
}

VideoComposition makeComposition(const EditorSession& session, const MediaAsset& asset,
                                 TimelineModel timeline, const ExportPreset& preset) {
    const TimelineTimeMapper timeMapper(asset.duration(), timeline.speedTrack.regions);
    const auto compositor = std::make_shared<const FrameCompositor>(FrameCompositor::Inputs{
        .events = session.sharedEvents(),
        .timeline = std::move(timeline),
        .timeMapper = timeMapper,
        .sourceDuration = asset.duration(),
        .sourceEmbedsCursor = !session.package().manifest().cursorExcluded,
        .packageRoot = session.package().rootURL(),
        .outputSize = pixelSizeOf(preset.resolution),
    });
    return {pixelSizeOf(preset.resolution), preset.wholeFramesPerSecond(),
            [compositor](const CompositionRequest& request) {
                return compositor->compose(request.time, request.source);
            }};
}

AudioTrackRole roleOfTrack(int index) {
    switch (index) {
    case 0:
        return AudioTrackRole::system;
    case 1:
        return AudioTrackRole::microphone;
    default:
        return AudioTrackRole::camera;
    }
}

double noiseReductionPenaltyDB(NoiseReductionLevel level) {
    switch (level) {
    case NoiseReductionLevel::off:
        return 0;
    case NoiseReductionLevel::low:
        return -0.8;
    case NoiseReductionLevel::medium:
        return -1.6;
    case NoiseReductionLevel::high:
        return -2.4;
    }
    return 0;
}

double factorOfDB(double decibels) {
    return std::pow(10, decibels / 20);
}

} // namespace

EffectRenderPlan makeEffectRenderPlan(const EditorSession& session, const ExportPreset& preset,
                                      const std::stop_token& stop) {
    throwIfCancelled(stop);
    const MediaAsset asset = openScreenMovie(session.package());
    throwIfCancelled(stop);
    TimelineModel timeline = session.prepareReframedTimeline(displaySizeOf(asset), preset.aspect);
    refuseUnsupportedEdits(timeline, session.package(), asset.duration());

    EffectRenderPlan plan{asset, {}, {}};
    if (asset.audioTrackCount() > 0) {
        plan.audioMix = makeAudioMix(asset.audioTrackCount(), timeline.audioMix, asset.duration());
    }
    plan.videoComposition = makeComposition(session, asset, std::move(timeline), preset);
    return plan;
}

std::vector<double> resolvedTrackVolumes(int trackCount, const AudioMixState& mixState) {
    std::vector<double> volumes;
    for (int track = 0; track < trackCount; ++track) {
        const AudioTrackStyle style = mixState.style(roleOfTrack(track));
        const double volume =
            factorOfDB(style.gainDB) * factorOfDB(noiseReductionPenaltyDB(style.noiseReductionLevel));
        volumes.push_back(style.muted ? 0 : std::clamp(volume, 0.0, 4.0));
    }
    return volumes;
}

AudioMix makeAudioMix(int trackCount, const AudioMixState& mixState, double duration) {
    AudioMix mix;
    const std::vector<double> volumes = resolvedTrackVolumes(trackCount, mixState);
    for (int track = 0; track < trackCount; ++track) {
        const AudioTrackStyle style = mixState.style(roleOfTrack(track));
        const double volume = volumes[std::size_t(track)];
        const double fadeIn = std::min(style.fadeInSeconds, duration);
        const double fadeOut = std::min(style.fadeOutSeconds, duration);
        AudioTrackMix& trackMix = mix.tracks.emplace_back(AudioTrackMix{volume, {}});
        if (fadeIn > 0) {
            trackMix.ramps.push_back({0, fadeIn, 0, volume});
        }
        if (fadeOut > 0) {
            trackMix.ramps.push_back({duration - fadeOut, duration, volume, 0});
        }
    }
    return mix;
}

} // namespace tavrin
