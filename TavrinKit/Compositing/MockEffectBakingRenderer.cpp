#include "TavrinKit/Compositing/MockEffectBakingRenderer.h"

namespace tavrin {

EffectBakeResult MockEffectBakingRenderer::bake(const EditorSession& session, const ExportPreset& preset,
                                                std::stop_token) {
    state_.with([&](State& state) {
        state.bakeCalls += 1;
        state.lastPreset = preset;
    });
    return {session.package().screenURL(), false};
}

MockEffectBakingRenderer::Snapshot MockEffectBakingRenderer::snapshot() const {
    return state_.with([](const State& state) {
        return Snapshot{state.bakeCalls,
                        state.lastPreset ? std::optional(state.lastPreset->name) : std::nullopt};
    });
}

} // namespace tavrin
