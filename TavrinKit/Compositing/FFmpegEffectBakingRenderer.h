#pragma once

#include "TavrinKit/Compositing/EffectBakingRenderer.h"

namespace tavrin {

/// Draws a session's effects over its screen movie.
///
/// Its preparation opens the media and builds the per-frame handler; no pixel is touched before an exporter
/// asks for one. Its bake is an intermediate for an encoder to come: a QuickTime movie in the system's
/// temporary folder, ProRes 422 with linear sound for `highQuality`, H.264 for `fastPreview`, of the preset's
/// size and rate and exactly as long as the edit. Keeps no state between calls.
class FFmpegEffectBakingRenderer : public EffectBakingRenderer {
public:
    /// A bake that fails leaves no file.
    /// @throws ExportError, EffectBakingError
    [[nodiscard]] EffectBakeResult bake(const EditorSession& session, const ExportPreset& preset,
                                        std::stop_token stop) override;

    /// @throws ExportError (exportFailed when the movie has no pictures; cancelled), EffectBakingError
    [[nodiscard]] PreparedEffectExport prepareExport(const EditorSession& session, const ExportPreset& preset,
                                                     std::stop_token stop) override;
};

} // namespace tavrin
