#pragma once

#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// Where the zoom camera looks. The default is the identity.
struct CameraTransform {
    Vec2 center;      ///< in the unit of the segments' focus; (0, 0) while there is no zoom
    double scale = 1; ///< at least 1; at 1 there is no camera and `center` means nothing

    friend bool operator==(const CameraTransform&, const CameraTransform&) = default;
};

template <>
struct JsonRecord<CameraTransform> {
    static void fields(auto& keys, auto& value) {
        keys.required("center", value.center);
        keys.required("scale", value.scale);
    }
};

} // namespace tavrin
