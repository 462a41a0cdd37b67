#include <limits>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Compositing/AudioMixing.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const std::vector<PlannedAudioTrack> recorded{
    {AudioTrackRole::system}, {AudioTrackRole::microphone}, {AudioTrackRole::camera}};

TEST(AudioMixingTests, VolumesFollowRolesAndNotPositions) {
    AudioMixState state;
    state.setStyle({.muted = true}, AudioTrackRole::system);
    state.setStyle({.gainDB = 6, .noiseReductionLevel = NoiseReductionLevel::high},
                   AudioTrackRole::microphone);
    state.setStyle({.gainDB = 30}, AudioTrackRole::camera);
    const std::vector<PlannedAudioTrack> tracks{
        {AudioTrackRole::microphone}, {.extraAudioVolume = 3},  {AudioTrackRole::system},
        {.extraAudioVolume = -1},     {AudioTrackRole::camera},
    };
    const std::vector<double> volumes = resolvedTrackVolumes(tracks, state);
    ASSERT_EQ(volumes.size(), 5U);
    EXPECT_NEAR(volumes[0], 1.51356, 1e-5);
    EXPECT_EQ(volumes[1], 2);
    EXPECT_EQ(volumes[2], 0);
    EXPECT_EQ(volumes[3], 0);
    EXPECT_EQ(volumes[4], 4);
    EXPECT_EQ(resolvedTrackVolumes(recorded, {}), (std::vector<double>{1, 1, 1}));
}

TEST(AudioMixingTests, FadesReachFullVolumeOrMeetBelowIt) {
    AudioMixState state;
    state.setStyle({.muted = true, .fadeInSeconds = 1, .fadeOutSeconds = 1}, AudioTrackRole::system);
    state.setStyle({.fadeInSeconds = 2, .fadeOutSeconds = 3}, AudioTrackRole::microphone);
    state.setStyle({.fadeInSeconds = 2, .fadeOutSeconds = 30}, AudioTrackRole::camera);
    const AudioMix mix = makeAudioMix(recorded, state, 8);
    const std::vector<std::tuple<int, double, double>> cases{
        {0, 0.5, 0}, {0, 4, 0},      {0, 7.9, 0}, // a muted role never rises
        {1, 0, 0},   {1, 0.5, 0.25}, {1, 2, 1},     {1, 4.9, 1},   {1, 6.5, 0.5}, {1, 8, 0},
        {1, 9, 0},   {2, 0.8, 0.4},  {2, 1.6, 0.8}, {2, 4.8, 0.4}, {2, 8, 0}, // the fade-out is the whole
                                                                              // movie
    };
    for (const auto& [track, time, volume] : cases) {
        EXPECT_NEAR(mix.volumeAt(track, time), volume, 1e-9) << track << " " << time;
    }
    const std::vector<PlannedAudioTrack> extra{{AudioTrackRole::microphone, 0.5}};
    EXPECT_EQ(makeAudioMix(extra, state, 8).volumeAt(0, 0), 0.5) << "extra sound has no fades";
}

TEST(AudioMixingTests, EveryNumberGivesAVolume) {
    for (const double number : {nan, infinity, -infinity, -1.0, 1e300}) {
        AudioMixState state;
        state.setStyle({.gainDB = number, .fadeInSeconds = number, .fadeOutSeconds = number},
                       AudioTrackRole::system);
        const std::vector<PlannedAudioTrack> tracks{{AudioTrackRole::system}, {.extraAudioVolume = number}};
        for (const double duration : {0.0, 0.5, 8.0}) {
            const AudioMix mix = makeAudioMix(tracks, state, duration);
            for (const double time : {0.0, 0.25, 0.5, 4.0, 8.0}) {
                EXPECT_TRUE(mix.volumeAt(0, time) >= 0 && mix.volumeAt(0, time) <= 4) << number;
                EXPECT_TRUE(mix.volumeAt(1, time) >= 0 && mix.volumeAt(1, time) <= 2) << number;
            }
        }
    }
}

} // namespace
} // namespace tavrin
