#pragma once

#include <vector>

#include "TavrinKit/Compositing/AudioMixing.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Project/ExtraAudioTrack.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Project/TimelineTimeMapper.h"

namespace tavrin {

/// The media of a plan on its way from the recording to the edit, with what each of its audio tracks is.
/// Roles travel with the tracks, because a track's final position doesn't tell them.
struct PlannedMedia {
    MediaAsset asset;
    std::vector<PlannedAudioTrack> audioTracks{}; ///< one for each of the asset's, in its order
};

/// The recording: the screen movie with its own tracks, and behind them the package's sound files in roles
/// that the movie has no track of its own for. A sound file that is missing, damaged or has no sound is left
/// out, which is logged.
/// @throws ExportError (exportFailed) when the movie can't be opened or has no pictures; FileError when the
///         system can't read a sound file that is there
[[nodiscard]] PlannedMedia openRecording(const ProjectPackage& package);

/// @param trimRange  on the recording's clock
[[nodiscard]] PlannedMedia makeTrimmedComposition(PlannedMedia media, const ClipTimeRange& trimRange);

/// The recording at its speeds with the extra sound over it. Media without either stays as it is.
///
/// A region's sound begins and ends where its times lie on the edited clock, plays from the start of its file
/// at its own speed, and ends with it at the latest. Stretches of 0.001 s or less are left out, and so is a
/// file that can't be read or has no sound, which is logged.
///
/// @param extraAudio   times on the mapper's source clock
/// @param packageRoot  where relative paths start
/// @throws EffectBakingError (extraAudioMissing), FileError
[[nodiscard]] PlannedMedia makeEditedComposition(PlannedMedia media, const TimelineTimeMapper& timeMapper,
                                                 const ExtraAudioTrack& extraAudio,
                                                 const std::filesystem::path& packageRoot);

/// Whether any stretch plays at another speed than it was recorded.
[[nodiscard]] bool isRetimed(const TimelineTimeMapper& timeMapper);

} // namespace tavrin
