#include "TavrinKit/Effects/FramingRenderer.h"

namespace tavrin {

FramingRenderState FramingRenderer::state(const FramingTrack& track) {
    return {.contentPadding = track.style.padding,
            .cornerRadius = track.style.cornerRadius,
            .shadow = track.style.shadow,
            .background = track.style.background};
}

} // namespace tavrin
