#include "TavrinKit/Compositing/EffectBakingRenderer.h"

namespace tavrin {

bool PreparedEffectExport::usesDirectComposition() const {
    return !temporaryMediaURL && (sourceAsset || videoComposition || audioMix);
}

PreparedEffectExport EffectBakingRenderer::prepareExport(const EditorSession& session,
                                                         const ExportPreset& preset, std::stop_token stop) {
    const EffectBakeResult baked = bake(session, preset, std::move(stop));
    PreparedEffectExport prepared;
    prepared.sourceURL = baked.mediaURL;
    if (baked.isTemporary) {
        prepared.temporaryMediaURL = baked.mediaURL;
    }
    return prepared;
}

} // namespace tavrin
