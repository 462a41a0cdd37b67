#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin::PremiumDefaults {

TimelineModel timelineModel() {
    TimelineModel model;

    CursorStyle& cursor = model.cursorTrack.style;
    cursor.sizeMultiplier = 1.6;
    cursor.shakeReduction = 0.35;
    cursor.glyphStabilizationSeconds = 0.18;

    FramingStyle& framing = model.framingTrack.style;
    framing.padding = 52;
    framing.cornerRadius = 22;
    framing.shadow = {.opacity = 0.28, .blurRadius = 34, .offsetX = 0, .offsetY = 12};
    framing.background = BackgroundStyle::gradient("#0f172a", "#334155");

    CameraPiPStyle& camera = model.cameraPiPTrack.style;
    camera.widthFraction = 0.22;
    camera.borderOpacity = 0.22;
    camera.layoutMode = CameraPiPLayoutMode::focusAware;
    camera.focusReactionStrength = 0.85;
    camera.backgroundTreatment = CameraPiPBackgroundTreatment::plate;

    return model;
}

} // namespace tavrin::PremiumDefaults
