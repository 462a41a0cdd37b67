#include "TavrinKit/Compositing/AudioMix.h"

namespace tavrin {

double AudioTrackMix::volumeAt(double time) const {
    double result = volume;
    for (const VolumeRamp& ramp : ramps) {
        if (time < ramp.startTime) {
            break;
        }
        if (time >= ramp.endTime) {
            result = ramp.endVolume;
        } else {
            const double share = (time - ramp.startTime) / (ramp.endTime - ramp.startTime);
            result = ramp.startVolume + share * (ramp.endVolume - ramp.startVolume);
        }
    }
    return result;
}

double AudioMix::volumeAt(int track, double time) const {
    return track >= 0 && std::size_t(track) < tracks.size() ? tracks[std::size_t(track)].volumeAt(time) : 1;
}

} // namespace tavrin
