#pragma once

#include <optional>
#include <string>

#include "TavrinKit/Compositing/EffectBakingRenderer.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Exercises the export without any media: a bake is counted, and "made" at a place inside the package.
class MockEffectBakingRenderer : public EffectBakingRenderer {
public:
    struct Snapshot {
        int bakeCalls = 0;
        std::optional<std::string> lastPresetName;
    };

    [[nodiscard]] EffectBakeResult bake(const EditorSession& session, const ExportPreset& preset,
                                        std::stop_token stop) override;

    [[nodiscard]] Snapshot snapshot() const;

private:
    struct State {
        int bakeCalls = 0;
        std::optional<ExportPreset> lastPreset;
    };
    Guarded<State> state_;
};

} // namespace tavrin
