#include "TavrinKit/Export/FFmpegMP4Exporter.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/RenderPipeline.h"
#include "TavrinKit/Export/ExportDestination.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/TemporaryFile.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

Size2D sizeOf(const ExportResolution& resolution) {
    return {double(resolution.width), double(resolution.height)};
}

PixelSize pixelSizeOf(const ExportResolution& resolution) {
    return {resolution.width, resolution.height};
}

/// Passes on fractions that never fall.
class RisingProgress {
public:
    explicit RisingProgress(const ExportProgressHandler& handler) : handler_(handler) {}

    void report(double fraction) {
        last_ = std::max(last_, fraction);
        if (handler_) {
            handler_(last_);
        }
    }

private:
    const ExportProgressHandler& handler_;
    double last_ = 0;
};

void removeOldFile(const ExportRequest& request) {
    checkDestination(request.destinationURL,
                     {request.sourceAsset ? request.sourceAsset->path() : request.sourceURL});
    removeFile(request.destinationURL);
}

MediaAsset usableAsset(const ExportRequest& request) {
    MediaAsset asset = request.sourceAsset ? *request.sourceAsset : MediaAsset::open(request.sourceURL);
    if (!asset.hasVideo()) {
        throw MediaError::noVideoTrack(asset.path());
    }
    return asset;
}

RenderPipeline::Plan makePlan(const ExportRequest& request, const MediaAsset& asset) {
    const ExportPreset& preset = request.preset;
    RenderPipeline::Plan plan{asset, request.videoComposition, pixelSizeOf(preset.resolution), 1, 0, {}, {}};
    // A picture that is off by less than a composition is asked for still has to fill the encoder's frame.
    const bool fits = !FFmpegMP4Exporter::shouldApplyVideoComposition(asset, preset) &&
                      asset.videoTrack().displaySize == plan.frameSize;
    if (!plan.composition && !fits) {
        plan.composition = FFmpegMP4Exporter::makeVideoComposition(preset);
    }
    plan.framesPerSecond =
        plan.composition ? std::max(plan.composition->framesPerSecond, 1) : preset.wholeFramesPerSecond();
    plan.frameCount = RenderPipeline::frameCount(asset, plan.framesPerSecond);
    plan.audioMix = request.audioMix.value_or(AudioMix());
    if (asset.audioTrackCount() > 0) {
        plan.sound = FFmpegMP4Exporter::audioOutputSettings(preset);
    }
    return plan;
}

std::unique_ptr<MovieWriter> openWriter(const ExportRequest& request, const RenderPipeline::Plan& plan) {
    MovieWriterSettings settings;
    settings.path = request.destinationURL;
    settings.container =
        request.preset.container == ExportContainer::mov ? MovieContainer::quickTime : MovieContainer::mp4;
    settings.video = FFmpegMP4Exporter::videoOutputSettings(request.preset);
    settings.video->frameRate = plan.framesPerSecond;
    settings.audio = plan.sound;
    settings.optimizeForNetworkUse = request.preset.mode == ExportSpeedQualityMode::fastPreview;
    return RenderPipeline::openWriter(settings);
}

double measuredDuration(const fs::path& path) {
    if (!fs::exists(path)) {
        throw ExportError::exportFailed();
    }
    const double duration = probeMedia(path).duration;
    if (!std::isfinite(duration) || duration < 0) {
        throw ExportError::corruptedDuration();
    }
    return duration;
}

ExportResult runExport(const ExportRequest& request, RisingProgress& progress, const std::stop_token& stop) {
    throwIfCancelled(stop);
    progress.report(0.02);
    const RenderPipeline::Plan plan = makePlan(request, usableAsset(request));
    throwIfCancelled(stop);
    {
        const auto writer = openWriter(request, plan);
        RenderPipeline(plan, *writer).run([&](double fraction) { progress.report(fraction); }, stop);
        writer->finish({}, stop);
    }
    progress.report(1);
    ExportResult result;
    result.outputURL = request.destinationURL;
    result.durationSeconds = measuredDuration(request.destinationURL);
    result.frameCount = plan.frameCount;
    return result;
}

} // namespace

ExportResult FFmpegMP4Exporter::exportMovie(const ExportRequest& request,
                                            const ExportProgressHandler& onProgress, std::stop_token stop) {
    const auto start = std::chrono::steady_clock::now();
    const auto turn = withExportErrors([&] { return turns_.take(stop); });
    removeOldFile(request);
    TemporaryFile movie(request.destinationURL);
    RisingProgress progress(onProgress);
    ExportResult result = withExportErrors([&] { return runExport(request, progress, stop); });
    movie.keep();
    result.elapsedSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

bool FFmpegMP4Exporter::requiresVideoComposition(Size2D sourceSize, Size2D targetSize) {
    if (!(sourceSize.width > 0 && sourceSize.height > 0 && targetSize.width > 0 && targetSize.height > 0)) {
        return true;
    }
    return std::abs(sourceSize.width - targetSize.width) > 1 ||
           std::abs(sourceSize.height - targetSize.height) > 1 ||
           std::abs(sourceSize.aspectRatio() - targetSize.aspectRatio()) > 0.001;
}

bool FFmpegMP4Exporter::shouldApplyVideoComposition(const MediaAsset& asset, const ExportPreset& preset) {
    return !asset.hasVideo() ||
           requiresVideoComposition(resolvedDisplaySize(asset), sizeOf(preset.resolution));
}

Size2D FFmpegMP4Exporter::resolvedDisplaySize(const MediaAsset& asset) {
    if (!asset.hasVideo()) {
        throw MediaError::noVideoTrack(asset.path());
    }
    const PixelSize size = asset.videoTrack().displaySize;
    return {double(size.width), double(size.height)};
}

VideoComposition FFmpegMP4Exporter::makeVideoComposition(const ExportPreset& preset) {
    return {pixelSizeOf(preset.resolution), preset.wholeFramesPerSecond(),
            [size = sizeOf(preset.resolution)](const CompositionRequest& request) {
                return renderToOutput(request.source, {0, 0, size.width, size.height});
            }};
}

double FFmpegMP4Exporter::heuristicBitRateMbps(const ExportPreset& preset) {
    const bool isHEVC = preset.codec == ExportCodec::hevc;
    const bool isFast = preset.mode == ExportSpeedQualityMode::fastPreview;
    constexpr double pixelsOf4K = 8'294'400;

    const double pixels = double(preset.resolution.width) * preset.resolution.height;
    const double frameRate = std::clamp(preset.fps, 24.0, 120.0);
    const double bitsPerPixel = isHEVC ? (isFast ? 0.065 : 0.105) : (isFast ? 0.09 : 0.145);
    const double mbps = frameRate * pixels * bitsPerPixel / 1'000'000;
    const double floor = isFast ? 6 : (pixels < pixelsOf4K ? 16 : 32);
    const double ceiling = isHEVC ? 60 : 80;
    return std::min(std::max(mbps, floor), ceiling);
}

std::int64_t FFmpegMP4Exporter::resolvedAverageBitRate(const ExportPreset& preset) {
    const bool isNamed =
        preset.bitrate.strategy != ExportBitrateStrategy::automatic && preset.bitrate.targetMbps;
    const double mbps = isNamed ? *preset.bitrate.targetMbps : heuristicBitRateMbps(preset);
    constexpr double most = 1'000'000;
    return std::llround(std::clamp(mbps, 0.0, most) * 1'000'000);
}

VideoTrackSettings FFmpegMP4Exporter::videoOutputSettings(const ExportPreset& preset) {
    VideoTrackSettings settings;
    settings.size = pixelSizeOf(preset.resolution);
    settings.codec = preset.codec == ExportCodec::hevc ? VideoCodec::hevc : VideoCodec::h264;
    switch (preset.profile) {
    case ExportVideoProfile::h264Baseline:
        settings.profile = VideoProfile::h264Baseline;
        break;
    case ExportVideoProfile::h264Main:
        settings.profile = VideoProfile::h264Main;
        break;
    case ExportVideoProfile::h264High:
        settings.profile = VideoProfile::h264High;
        break;
    case ExportVideoProfile::hevcMain:
        settings.profile = VideoProfile::hevcMain;
        break;
    }
    const bool isPreview = preset.mode == ExportSpeedQualityMode::fastPreview;
    settings.effort = isPreview ? EncoderEffort::superfast : EncoderEffort::veryfast;
    settings.finestQuantizer = isPreview ? 22 : 18;
    settings.averageBitRate = resolvedAverageBitRate(preset);
    settings.frameRate = preset.wholeFramesPerSecond();
    settings.maximumKeyFrameInterval = std::max(int(std::lround(2 * preset.fps)), 1);
    return settings;
}

AudioTrackSettings FFmpegMP4Exporter::audioOutputSettings(const ExportPreset& preset) {
    constexpr int mostKbps = 1'000'000;
    return {preset.audio.sampleRateHz, preset.audio.channels,
            std::clamp(preset.audio.bitrateKbps, 0, mostKbps) * 1000};
}

} // namespace tavrin
