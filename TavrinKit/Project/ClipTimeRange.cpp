#include "TavrinKit/Project/ClipTimeRange.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

ClipTimeRange ClipTimeRange::normalized() const {
    const double start = atLeast(finiteOr(startTime, 0), 0);
    return {start, atLeast(finiteOr(endTime, start), start)};
}

} // namespace tavrin
