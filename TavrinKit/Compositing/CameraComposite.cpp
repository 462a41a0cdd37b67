#include "TavrinKit/Compositing/CameraComposite.h"

#include <exception>
#include <filesystem>
#include <memory>
#include <utility>

#include "TavrinKit/Compositing/EffectBakingLog.h"
#include "TavrinKit/Compositing/SourceTiming.h"
#include "TavrinKit/Media/MediaError.h"

namespace tavrin {
namespace {

std::optional<MediaAsset> openCameraMovie(const std::filesystem::path& path) {
    try {
        MediaAsset asset = MediaAsset::open(path);
        if (asset.hasVideo()) {
            return asset;
        }
        logEffectBakingRecoverableFailure("makeCameraCompositeContext.loadVideoTracks",
                                          std::make_exception_ptr(MediaError::noVideoTrack(path)),
                                          {{"path", path.string()}});
    } catch (...) {
        logUselessFile("makeCameraCompositeContext.loadDuration", path);
    }
    return std::nullopt;
}

} // namespace

std::optional<CameraCompositeContext> makeCameraCompositeContext(const ProjectPackage& package,
                                                                 const CameraPiPStyle& style,
                                                                 double fallbackFPS,
                                                                 double sourceStartOffsetSeconds) {
    if (!style.enabled || package.manifest().cameraTracks.empty()) {
        return std::nullopt;
    }
    const CameraTrackDescriptor track = package.manifest().cameraTracks.front().normalized();
    const std::optional<MediaAsset> asset = openCameraMovie(package.cameraURL(track));
    if (!asset) {
        return std::nullopt;
    }
    const auto options = SourceTiming::of(*asset, fallbackFPS).samplerOptions(asset->duration(), false);
    const auto sampler = std::make_shared<const TemporalFrameSampler>(*asset, options);
    if (!sampler->sample(0)) {
        return std::nullopt; // rather than a failed attempt for every frame
    }
    return CameraCompositeContext{
        .sampler = sampler,
        .style = style,
        .timebaseOffsetSeconds = track.timebaseOffsetSeconds,
        .driftMillisecondsPerHour = track.driftMillisecondsPerHour,
        .durationSeconds = asset->duration(),
        .sourceStartOffsetSeconds = sourceStartOffsetSeconds,
    };
}

} // namespace tavrin
