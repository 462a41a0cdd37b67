#pragma once

#include <functional>
#include <optional>

#include "TavrinKit/Compositing/CameraPiPLayer.h"
#include "TavrinKit/Compositing/FrameCompositor.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/VideoComposition.h"
#include "TavrinKit/Project/TimelineTimeMapper.h"

namespace tavrin {

/// What the frames of a composition sample besides the asset's own pictures.
struct SampledSources {
    std::optional<FrameCompositor::MotionBlur> motionBlur;
    std::optional<CameraCompositeContext> camera;
};

/// Reads an asset for a composition: the picture on screen at each frame's time, with every sample of the
/// blur and the camera's picture brought into their samplers' caches, in the order of time.
///
/// A blurred movie is decoded once: its pictures come from the blur's sampler. Where that has none, they are
/// read from the asset.
/// @param asset  the edited one, which the blur samples
/// @return no function when the frames sample nothing
[[nodiscard]] std::function<SourcePreparation()>
sourceOpener(const MediaAsset& asset, const TimelineTimeMapper& timeMapper, const SampledSources& sources);

} // namespace tavrin
