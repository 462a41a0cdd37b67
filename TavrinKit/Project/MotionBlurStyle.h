#pragma once

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The key is required in JSON.
struct MotionBlurStyle {
    double intensity = 0.18; ///< TavrinConstants::minimumMotionBlurIntensity...maximumMotionBlurIntensity

    [[nodiscard]] MotionBlurStyle normalized() const;

    friend bool operator==(const MotionBlurStyle&, const MotionBlurStyle&) = default;
};

void encode(Json& json, const MotionBlurStyle& value);
void decode(const Json& json, MotionBlurStyle& value);

} // namespace tavrin
