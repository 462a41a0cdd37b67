#pragma once

#include <optional>
#include <stop_token>
#include <vector>

#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/VideoComposition.h"
#include "TavrinKit/Project/ExportPreset.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {

/// An edit as a timed media object: what plays, how each frame is drawn, how loud each track is.
struct EffectRenderPlan {
    MediaAsset asset;
    VideoComposition videoComposition;
    std::optional<AudioMix> audioMix; ///< absent when the asset is silent
};

/// @throws ExportError (exportFailed) when the session's screen movie can't be opened or has no pictures;
///         EffectBakingError for edits that can't be played yet; CancellationError
[[nodiscard]] EffectRenderPlan makeEffectRenderPlan(const EditorSession& session, const ExportPreset& preset,
                                                    const std::stop_token& stop);

/// The linear volume of each of an asset's audio tracks. Their roles go by position: system sound, then the
/// microphone, any other is a camera's. Noise reduction takes away loudness; a muted role is silent.
/// @return a value in 0...4 for each track
[[nodiscard]] std::vector<double> resolvedTrackVolumes(int trackCount, const AudioMixState& mixState);

/// The volumes with the fades of each role at both ends.
/// @param duration  seconds; no fade is longer
[[nodiscard]] AudioMix makeAudioMix(int trackCount, const AudioMixState& mixState, double duration);

} // namespace tavrin
