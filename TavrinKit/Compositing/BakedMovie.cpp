#include "TavrinKit/Compositing/BakedMovie.h"

#include <memory>

#include "TavrinKit/Compositing/RenderPipeline.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

bool isPreview(const ExportPreset& preset) {
    return preset.mode == ExportSpeedQualityMode::fastPreview;
}

VideoTrackSettings videoSettings(const ExportPreset& preset) {
    VideoTrackSettings settings;
    settings.size = {preset.resolution.width, preset.resolution.height};
    settings.codec = isPreview(preset) ? VideoCodec::h264 : VideoCodec::proRes422;
    settings.effort = EncoderEffort::superfast;
    settings.constantQuality = 20;
    settings.frameRate = preset.wholeFramesPerSecond();
    return settings;
}

AudioTrackSettings audioSettings(const ExportPreset& preset) {
    AudioTrackSettings settings;
    settings.sampleRate = preset.audio.sampleRateHz;
    settings.channels = preset.audio.channels;
    settings.codec = isPreview(preset) ? AudioCodec::aac : AudioCodec::linearPCM;
    return settings;
}

RenderPipeline::Plan pipelinePlan(const EffectRenderPlan& plan, const ExportPreset& preset) {
    const int framesPerSecond = preset.wholeFramesPerSecond();
    RenderPipeline::Plan result{
        .asset = plan.asset,
        .composition = plan.videoComposition,
        .frameSize = plan.videoComposition.renderSize,
        .framesPerSecond = framesPerSecond,
        .frameCount = RenderPipeline::frameCount(plan.asset, framesPerSecond),
        .audioMix = plan.audioMix.value_or(AudioMix()),
    };
    if (plan.asset.audioTrackCount() > 0) {
        result.sound = audioSettings(preset);
    }
    return result;
}

std::unique_ptr<MovieWriter> openWriter(const RenderPipeline::Plan& plan, const ExportPreset& preset,
                                        const std::filesystem::path& path) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.container = MovieContainer::quickTime;
    settings.video = videoSettings(preset);
    settings.audio = plan.sound;
    settings.optimizeForNetworkUse = isPreview(preset);
    return RenderPipeline::openWriter(settings);
}

} // namespace

void writeBakedMovie(const EffectRenderPlan& plan, const ExportPreset& preset,
                     const std::filesystem::path& path, const std::stop_token& stop) {
    const RenderPipeline::Plan frames = pipelinePlan(plan, preset);
    removeFile(path);
    const auto writer = openWriter(frames, preset, path);
    RenderPipeline(frames, *writer).run({}, stop);
    writer->finish({}, stop);
}

} // namespace tavrin
