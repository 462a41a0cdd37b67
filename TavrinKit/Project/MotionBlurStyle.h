#pragma once

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The key is required in JSON.
struct MotionBlurStyle {
    double intensity = 0.18; ///< TavrinConstants::minimumMotionBlurIntensity...maximumMotionBlurIntensity

    [[nodiscard]] MotionBlurStyle normalized() const;

    friend bool operator==(const MotionBlurStyle&, const MotionBlurStyle&) = default;
};

template <>
struct JsonRecord<MotionBlurStyle> {
    static void fields(auto& keys, auto& value) { keys.required("intensity", value.intensity); }
};

} // namespace tavrin
