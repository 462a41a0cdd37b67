#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"

#include <filesystem>
#include <utility>

#include "TavrinKit/Compositing/BakedMovie.h"
#include "TavrinKit/Compositing/EffectRenderPlan.h"
#include "TavrinKit/Compositing/ExportError.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

EffectRenderPlan makePlan(const EditorSession& session, const ExportPreset& preset,
                          const std::stop_token& stop) {
    try {
        return makeEffectRenderPlan(session, preset, stop);
    } catch (const CancellationError&) {
        throw ExportError::cancelled();
    }
}

} // namespace

EffectBakeResult FFmpegEffectBakingRenderer::bake(const EditorSession& session, const ExportPreset& preset,
                                                  std::stop_token stop) {
    const EffectRenderPlan plan = makePlan(session, preset, stop);
    return withExportErrors([&] {
        const fs::path output =
            fs::temp_directory_path() / ("tavrin-baked-" + UUID::make().string() + ".mov");
        writeBakedMovie(plan, preset, output, stop);
        return EffectBakeResult{output, true};
    });
}

PreparedEffectExport FFmpegEffectBakingRenderer::prepareExport(const EditorSession& session,
                                                               const ExportPreset& preset,
                                                               std::stop_token stop) {
    EffectRenderPlan plan = makePlan(session, preset, stop);
    PreparedEffectExport prepared;
    prepared.sourceURL = plan.asset.path();
    prepared.sourceAsset = std::move(plan.asset);
    prepared.videoComposition = std::move(plan.videoComposition);
    prepared.audioMix = std::move(plan.audioMix);
    return prepared;
}

} // namespace tavrin
