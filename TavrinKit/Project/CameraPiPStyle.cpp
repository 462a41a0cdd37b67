#include "TavrinKit/Project/CameraPiPStyle.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

CameraPiPStyle CameraPiPStyle::normalized() const {
    CameraPiPStyle result = *this;
    result.widthFraction = clampedTo(widthFraction, 0.1, 0.45);
    result.marginFraction = clampedTo(marginFraction, 0.01, 0.2);
    result.cornerRadiusFraction = clampedTo(cornerRadiusFraction, 0, 0.5);
    result.shadowOpacity = clampedTo(shadowOpacity, 0, 1);
    result.borderOpacity = clampedTo(borderOpacity, 0, 1);
    result.borderWidth = clampedTo(borderWidth, 0, 10);
    result.focusReactionStrength = clampedTo(focusReactionStrength, 0, 1);
    return result;
}

} // namespace tavrin
