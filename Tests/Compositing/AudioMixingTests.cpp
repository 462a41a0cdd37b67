#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/AudioMixing.h"

namespace tavrin {
namespace {

TEST(AudioMixingTests, VolumesFollowRolesAndNotPositions) {
    AudioMixState state;
    state.setStyle({.muted = true}, AudioTrackRole::system);
    state.setStyle({.gainDB = 6, .noiseReductionLevel = NoiseReductionLevel::high},
                   AudioTrackRole::microphone);
    state.setStyle({.gainDB = 30}, AudioTrackRole::camera);
    const std::vector<std::pair<PlannedAudioTrack, double>> cases{{{AudioTrackRole::microphone}, 1.51356},
                                                                  {{.extraAudioVolume = 3}, 2},
                                                                  {{AudioTrackRole::system}, 0},
                                                                  {{.extraAudioVolume = -1}, 0},
                                                                  {{AudioTrackRole::camera}, 4}};
    for (const auto& [track, volume] : cases) {
        EXPECT_NEAR(resolvedTrackVolumes({&track, 1}, state).at(0), volume, 1e-5);
    }
}

TEST(AudioMixingTests, FadesReachFullVolumeOrMeetBelowIt) {
    AudioMixState state;
    state.setStyle({.muted = true, .fadeInSeconds = 1, .fadeOutSeconds = 1}, AudioTrackRole::system);
    state.setStyle({.fadeInSeconds = 2, .fadeOutSeconds = 3}, AudioTrackRole::microphone);
    state.setStyle({.fadeInSeconds = 2, .fadeOutSeconds = 30}, AudioTrackRole::camera);
    const std::vector<PlannedAudioTrack> tracks{{AudioTrackRole::system},
                                                {AudioTrackRole::microphone},
                                                {AudioTrackRole::camera},
                                                {.extraAudioVolume = 1}};
    const AudioMix mix = makeAudioMix(tracks, state, 8);
    const std::vector<std::tuple<int, double, double>> cases{
        {0, 0.5, 0},   {0, 4, 0},      {0, 7.9, 0}, // a muted role never rises
        {1, 0, 0},     {1, 0.5, 0.25}, {1, 2, 1},     {1, 4.9, 1}, {1, 6.5, 0.5}, {1, 9, 0},
        {2, 0.8, 0.4}, {2, 1.6, 0.8},  {2, 4.8, 0.4}, {2, 8, 0}, // the fade-out is the whole movie
        {3, 0, 1},     {3, 8, 1},                                // extra sound has no fades
    };
    for (const auto& [track, time, volume] : cases) {
        EXPECT_NEAR(mix.volumeAt(track, time), volume, 1e-9) << track << " " << time;
    }
}

} // namespace
} // namespace tavrin
