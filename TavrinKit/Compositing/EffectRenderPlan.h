#pragma once

#include <optional>
#include <stop_token>

#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/VideoComposition.h"
#include "TavrinKit/Project/ExportPreset.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {

/// An edit as a timed media object: what plays and at which speed, how each frame is drawn, how loud each
/// track is.
struct EffectRenderPlan {
    MediaAsset asset; ///< the edited recording, on the clock of the finished movie
    VideoComposition videoComposition;
    std::optional<AudioMix> audioMix; ///< absent when the asset is silent
};

/// Plans the movie of a session. No picture of the recording is decoded.
///
/// An edit without trim, speed regions and extra sound plays straight from the recording. Whatever numbers
/// the edits hold, there is a plan. Side files that are missing or damaged cost their layer or track and
/// a line in the log; only a file of extra sound must be there.
/// @throws ExportError (exportFailed) when the session's screen movie can't be opened or has no pictures;
///         FileError when the system can't read a side file that is there; EffectBakingError
///         (extraAudioMissing); CancellationError
[[nodiscard]] EffectRenderPlan makeEffectRenderPlan(const EditorSession& session, const ExportPreset& preset,
                                                    const std::stop_token& stop);

} // namespace tavrin
