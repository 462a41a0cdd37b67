#pragma once

#include "TavrinKit/Compositing/EffectBakingRenderer.h"

namespace tavrin {

/// Draws a session's effects over its screen movie.
///
/// Its preparation opens the movie and builds the per-frame handler; no pixel is touched before an exporter
/// asks for one. Trims, speed regions, extra audio, the camera picture, annotations and watermarks are
/// refused with EffectBakingError: they would otherwise be missing in the movie.
class FFmpegEffectBakingRenderer : public EffectBakingRenderer {
public:
    /// There is no intermediate yet.
    /// @throws EffectBakingError (bakingUnavailable)
    [[nodiscard]] EffectBakeResult bake(const EditorSession& session, const ExportPreset& preset,
                                        std::stop_token stop) override;

    /// @throws ExportError (exportFailed when the movie has no pictures; cancelled), EffectBakingError
    [[nodiscard]] PreparedEffectExport prepareExport(const EditorSession& session, const ExportPreset& preset,
                                                     std::stop_token stop) override;
};

} // namespace tavrin
