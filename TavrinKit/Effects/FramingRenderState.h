#pragma once

#include <nlohmann/json_fwd.hpp>

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

void encode(nlohmann::json& json, const FramingRenderState& value);
void decode(const nlohmann::json& json, FramingRenderState& value);

} // namespace tavrin
