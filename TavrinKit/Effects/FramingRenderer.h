#pragma once

#include "TavrinKit/Effects/FramingRenderState.h"
#include "TavrinKit/Project/FramingStyle.h"

namespace tavrin {

/// Resolves the framing of a take, which is the same for all of its frames. Pure; any thread.
struct FramingRenderer {
    [[nodiscard]] static FramingRenderState state(const FramingTrack& track);
};

} // namespace tavrin
