#pragma once

#include "TavrinKit/Effects/FramingRenderState.h"

namespace tavrin {

struct FramingTrack;

/// Resolves the framing of a take, which is the same for all of its frames. Pure; any thread.
struct FramingRenderer {
    [[nodiscard]] static FramingRenderState state(const FramingTrack& track);
};

} // namespace tavrin
