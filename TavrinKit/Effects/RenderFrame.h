#pragma once

#include "TavrinKit/Effects/CameraTransform.h"
#include "TavrinKit/Effects/CursorFrameState.h"
#include "TavrinKit/Effects/FramingRenderState.h"
#include "TavrinKit/Effects/MotionBlurPlan.h"
#include "TavrinKit/Effects/TypingFrameState.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// What one frame shows, before any pixel is drawn.
struct RenderFrame {
    double time = 0; ///< seconds
    CameraTransform camera;
    CursorFrameState cursor;
    TypingFrameState typing;
    FramingRenderState framing;
    MotionBlurPlan motionBlur;

    friend bool operator==(const RenderFrame&, const RenderFrame&) = default;
};

void encode(Json& json, const RenderFrame& value);
void decode(const Json& json, RenderFrame& value);

} // namespace tavrin
