#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"

#include "TavrinKit/Compositing/EffectBakingError.h"
#include "TavrinKit/Compositing/EffectRenderPlan.h"
#include "TavrinKit/Compositing/ExportError.h"

namespace tavrin {

EffectBakeResult FFmpegEffectBakingRenderer::bake(const EditorSession&, const ExportPreset&,
                                                  std::stop_token) {
    throw EffectBakingError::bakingUnavailable();
}

PreparedEffectExport FFmpegEffectBakingRenderer::prepareExport(const EditorSession& session,
                                                               const ExportPreset& preset,
                                                               std::stop_token stop) {
    try {
        EffectRenderPlan plan = makeEffectRenderPlan(session, preset, stop);
        PreparedEffectExport prepared;
        prepared.sourceURL = plan.asset.path();
        prepared.sourceAsset = std::move(plan.asset);
        prepared.videoComposition = std::move(plan.videoComposition);
        prepared.audioMix = std::move(plan.audioMix);
        return prepared;
    } catch (const CancellationError&) {
        throw ExportError::cancelled();
    }
}

} // namespace tavrin
