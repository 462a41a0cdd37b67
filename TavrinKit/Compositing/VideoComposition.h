#pragma once

#include <functional>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// One frame to be drawn.
struct CompositionRequest {
    double time = 0; ///< seconds on the edited clock
    Image source;    ///< the asset's picture on screen then; its lower left corner is the origin
};

/// How the pictures of an asset become the frames of a movie.
///
/// Frame i of the movie shows what the handler makes of time i / `framesPerSecond`: a recipe whose part
/// from (0, 0) to `renderSize` is drawn. Colours are BT.709.
struct VideoComposition {
    PixelSize renderSize;
    int framesPerSecond = 60; ///< at least 1
    /// Called for several frames at once, from any thread and in any order; keeps no state between frames.
    std::function<Image(const CompositionRequest&)> handler;
};

} // namespace tavrin
