#pragma once

#include <optional>
#include <span>
#include <vector>

#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Project/AudioMixState.h"

namespace tavrin {

/// What an audio track of a plan's asset is.
struct PlannedAudioTrack {
    AudioTrackRole role = AudioTrackRole::system; ///< of a recorded track
    std::optional<double>
        extraAudioVolume{}; ///< there for sound laid over the recording: no role counts then

    friend bool operator==(const PlannedAudioTrack&, const PlannedAudioTrack&) = default;
};

/// The role of a track of a screen movie, which goes by its position: system sound, then the microphone; any
/// other is a camera's.
[[nodiscard]] AudioTrackRole roleOfScreenTrack(int index);

/// The linear volume of each track: 0...4 for a recorded one, 0...2 for sound laid over. Noise reduction
/// takes away loudness; a muted role is silent. Total: numbers that are none count as 0 dB and volume 1.
[[nodiscard]] std::vector<double> resolvedTrackVolumes(std::span<const PlannedAudioTrack> tracks,
                                                       const AudioMixState& mixState);

/// The volumes with the fades of each role at both ends. Sound laid over has no fades. Where a short movie's
/// fades overlap, they meet where both are equally loud.
/// @param duration  seconds of the finished movie; no fade is longer
[[nodiscard]] AudioMix makeAudioMix(std::span<const PlannedAudioTrack> tracks, const AudioMixState& mixState,
                                    double duration);

} // namespace tavrin
