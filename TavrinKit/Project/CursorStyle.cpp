#include "TavrinKit/Project/CursorStyle.h"

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

double alpha(CursorSmoothingPreset preset) {
    switch (preset) {
    case CursorSmoothingPreset::off:
        return 1;
    case CursorSmoothingPreset::low:
        return 0.55;
    case CursorSmoothingPreset::medium:
        return 0.35;
    case CursorSmoothingPreset::high:
        return 0.2;
    }
    return 1;
}

CursorStyle CursorStyle::normalized() const {
    CursorStyle result = *this;
    result.sizeMultiplier = clampedTo(sizeMultiplier, 1, 2.5);
    result.idleHideAfterSeconds = atLeast(idleHideAfterSeconds, 0.2);
    result.shakeReduction = clampedTo(shakeReduction, 0, 1);
    result.glyphStabilizationSeconds = clampedTo(glyphStabilizationSeconds, 0, 1.2);
    result.endLoopDurationSeconds = clampedTo(endLoopDurationSeconds, 0.12, 1.2);
    result.clickHighlightDurationSeconds = clampedTo(clickHighlightDurationSeconds, 0.08, 1.2);
    result.clickHighlightIntensity = clampedTo(clickHighlightIntensity, 0, 1);
    result.trailLengthSeconds = clampedTo(trailLengthSeconds, 0, 1.2);
    result.trailIntensity = clampedTo(trailIntensity, 0, 1);
    result.idleFadeDurationSeconds = clampedTo(idleFadeDurationSeconds, 0.05, 1);
    return result;
}

} // namespace tavrin
