#pragma once

#include "TavrinKit/Compositing/TemporalFrameSampler.h"
#include "TavrinKit/Effects/CameraAnimator.h"
#include "TavrinKit/Effects/MotionBlurPlan.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/TimelineTimeMapper.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

struct ZoomTrack;

/// What a blurred frame is made from. Refers to things of the caller.
struct TemporalMotionBlurInputs {
    const TemporalFrameSampler* sampler = nullptr; ///< on the edited clock; none: all samples show the source
    const ZoomTrack& zoomTrack;
    const TimelineTimeMapper& timeMapper;
    const CameraAnimator& cameraAnimator;
};

/// The frame mixed from its samples, each seen through the zoom camera of its own instant, so that both what
/// moves in the recording and the zoom itself smear.
///
/// Samples of one picture with one camera are one term of the mean with added weight: where nothing moves,
/// the answer is what `applyCamera` gives. A sample that can't be read shows the centre's picture, or the
/// source where that can't be read either, with the camera of its nominal time. Any thread.
///
/// @param source      the recording's picture at the centre; the answer has its extent
/// @param centerTime  seconds on the edited clock, as the sample times
[[nodiscard]] Image applyTemporalMotionBlur(const Image& source, double centerTime,
                                            const MotionBlurTimes& sampleTimes,
                                            const TemporalMotionBlurInputs& inputs);

/// A sample brought onto the target: one of the same size is moved there, another one is scaled to fill it.
/// Cropped to the target.
[[nodiscard]] Image alignedTemporalSample(const Image& sample, const Rect& target);

/// True when a decoded frame can't stand for the source: without area, or of another aspect.
[[nodiscard]] bool requiresCenterFrameReuse(const Rect& sampledExtent, const Rect& targetExtent);

} // namespace tavrin
