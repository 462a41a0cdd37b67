#include "TavrinKit/Project/MotionBlurStyle.h"

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/TavrinConstants.h"

namespace tavrin {

MotionBlurStyle MotionBlurStyle::normalized() const {
    return {clampedTo(intensity, TavrinConstants::minimumMotionBlurIntensity,
                      TavrinConstants::maximumMotionBlurIntensity)};
}

} // namespace tavrin
