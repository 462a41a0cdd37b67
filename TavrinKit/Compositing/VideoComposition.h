#pragma once

#include <functional>
#include <optional>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// One frame to be drawn.
struct CompositionRequest {
    double time = 0; ///< seconds on the edited clock
    Image source;    ///< the asset's picture on screen then; its lower left corner is the origin
};

/// Gives the asset's picture on screen at a time, and decodes meanwhile whatever else the handler will sample
/// for the frame of that time, so that the handler needn't wait for it.
///
/// Belongs to one run, on the thread that decodes, which asks in the order of time, ahead of the handler.
/// Throws MediaError; gives nothing when the asset has no picture that can be read.
using SourcePreparation = std::function<std::optional<Image>(double time)>;

/// How the pictures of an asset become the frames of a movie.
///
/// Frame i of the movie shows what the handler makes of time i / `framesPerSecond`: a recipe whose part
/// from (0, 0) to `renderSize` is drawn. Colours are BT.709.
struct VideoComposition {
    PixelSize renderSize;
    int framesPerSecond = 60; ///< at least 1
    /// Called for several frames at once, from any thread and in any order; keeps no state between frames.
    std::function<Image(const CompositionRequest&)> handler;
    /// Absent: whoever runs the composition reads the asset's pictures itself, with an AssetVideoReader.
    ///
    /// Called once at the start of each run, for the function that then takes the place of that reader: runs
    /// share nothing that changes, so the same composition may be run twice and at once.
    /// @throws MediaError, FileError
    std::function<SourcePreparation()> openSource{};
};

} // namespace tavrin
