#pragma once

#include <vector>

namespace tavrin {

/// A volume that moves evenly from one value to another. Times in seconds, volumes as linear factors.
struct VolumeRamp {
    double startTime = 0;
    double endTime = 0;
    double startVolume = 1;
    double endVolume = 1;

    friend bool operator==(const VolumeRamp&, const VolumeRamp&) = default;
};

/// The loudness of one audio track over the time of its asset.
struct AudioTrackMix {
    double volume = 1;             ///< linear factor, before the first ramp
    std::vector<VolumeRamp> ramps; ///< by start time; behind a ramp its end volume holds until the next one

    /// A later ramp that has started wins over an earlier one.
    [[nodiscard]] double volumeAt(double time) const;

    friend bool operator==(const AudioTrackMix&, const AudioTrackMix&) = default;
};

/// How loud each audio track of an asset plays. A track beyond the list plays at volume 1.
struct AudioMix {
    std::vector<AudioTrackMix> tracks; ///< in the asset's order

    [[nodiscard]] double volumeAt(int track, double time) const;

    friend bool operator==(const AudioMix&, const AudioMix&) = default;
};

} // namespace tavrin
