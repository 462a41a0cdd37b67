#pragma once

#include "TavrinKit/Project/FramingStyle.h"

namespace tavrin {

/// How the recording sits on its background. Lengths as `FramingStyle` has them.
struct FramingRenderState {
    double contentPadding = 0;
    double cornerRadius = 0;
    ShadowStyle shadow;
    BackgroundStyle background;

    friend bool operator==(const FramingRenderState&, const FramingRenderState&) = default;
};

template <>
struct JsonRecord<FramingRenderState> {
    static void fields(auto& keys, auto& value) {
        keys.required("contentPadding", value.contentPadding);
        keys.required("cornerRadius", value.cornerRadius);
        keys.required("shadow", value.shadow);
        keys.required("background", value.background);
    }
};

} // namespace tavrin
