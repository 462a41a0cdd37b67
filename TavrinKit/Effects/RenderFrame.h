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

template <>
struct JsonRecord<RenderFrame> {
    static void fields(auto& keys, auto& value) {
        keys.required("time", value.time);
        keys.required("camera", value.camera);
        keys.required("cursor", value.cursor);
        keys.required("typing", value.typing);
        keys.required("framing", value.framing);
        keys.required("motionBlur", value.motionBlur);
    }
};

} // namespace tavrin
