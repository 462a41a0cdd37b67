#pragma once

#include <filesystem>
#include <optional>
#include <stop_token>

#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/VideoComposition.h"
#include "TavrinKit/Project/ExportPreset.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {

/// A movie with all effects in its pictures.
struct EffectBakeResult {
    std::filesystem::path mediaURL;
    bool isTemporary = false; ///< the caller removes the file when done
};

/// What an exporter needs to make the movie of a session: the media with a handler that draws the effects,
/// or a file in which they are drawn already.
struct PreparedEffectExport {
    std::filesystem::path sourceURL;
    std::optional<MediaAsset> sourceAsset;
    std::optional<std::filesystem::path> temporaryMediaURL; ///< the caller removes it when done
    std::optional<VideoComposition> videoComposition;
    std::optional<AudioMix> audioMix;

    /// True when the effects are drawn while exporting, with no file in between.
    [[nodiscard]] bool usesDirectComposition() const;
};

/// Turns the edits of a session into something that an exporter can encode. Any thread.
class EffectBakingRenderer {
public:
    virtual ~EffectBakingRenderer() = default;

    /// Renders all effects into an intermediate file.
    /// @throws ExportError, EffectBakingError, MediaError, FileError
    [[nodiscard]] virtual EffectBakeResult bake(const EditorSession& session, const ExportPreset& preset,
                                                std::stop_token stop) = 0;

    /// As little work as will do. Unless an implementation knows better, that is a bake.
    /// @throws as `bake`
    [[nodiscard]] virtual PreparedEffectExport
    prepareExport(const EditorSession& session, const ExportPreset& preset, std::stop_token stop);
};

} // namespace tavrin
