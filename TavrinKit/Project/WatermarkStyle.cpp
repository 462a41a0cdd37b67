#include "TavrinKit/Project/WatermarkStyle.h"

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {

WatermarkStyle WatermarkStyle::normalized() const {
    WatermarkStyle result = *this;
    result.text = trimmed(text);
    if (imagePath) {
        result.imagePath = trimmed(*imagePath);
    }
    result.opacity = clampedTo(opacity, 0, 1);
    result.widthFraction = clampedTo(widthFraction, 0.08, 0.5);
    result.marginFraction = clampedTo(marginFraction, 0, 0.2);
    return result;
}

} // namespace tavrin
