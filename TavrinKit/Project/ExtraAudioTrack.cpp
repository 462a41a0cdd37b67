#include "TavrinKit/Project/ExtraAudioTrack.h"

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TrackOrder.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {

ExtraAudioRegion ExtraAudioRegion::normalized() const {
    ExtraAudioRegion result = *this;
    normalizeTimes(result);
    result.filePath = trimmed(filePath);
    result.volume = clampedTo(finiteOr(volume, 1), 0, 2);
    return result;
}

ExtraAudioTrack ExtraAudioTrack::normalized() const {
    ExtraAudioTrack result = *this;
    sortByStartThenID(result.regions);
    return result;
}

} // namespace tavrin
