#pragma once

#include <vector>

#include "TavrinKit/Effects/CameraAnimator.h"
#include "TavrinKit/Effects/RenderFrame.h"
#include "TavrinKit/Effects/RenderRequest.h"

namespace tavrin {

/// Brings the evaluators of camera, cursor, typing, framing and motion blur together: what each frame of a
/// take shows. It decides nothing about pixels.
///
/// A pure function of the request; any thread.
class EffectGraphRenderer {
public:
    EffectGraphRenderer() = default;
    explicit EffectGraphRenderer(CameraAnimator cameraAnimator) : cameraAnimator_(cameraAnimator) {}

    /// One frame for each of `makeFrameTimes`, in order. Each is what it would be if it were the only one.
    /// They take about a kilobyte each.
    ///
    /// The cursor follows the rules of CursorPlaybackSupport; typing and camera follow the frame's own time.
    /// The shutter of the motion blur is that of 60 frames per second, whatever the viewport's rate.
    [[nodiscard]] std::vector<RenderFrame> renderPlan(const RenderRequest& request) const;

    /// The times of `FrameTimes`, as a list: the first is 0, the last the last multiple of the frame's length
    /// strictly before the end. Empty unless both arguments are positive and finite.
    [[nodiscard]] static std::vector<double> makeFrameTimes(double duration, double fps);

private:
    CameraAnimator cameraAnimator_;
};

} // namespace tavrin
