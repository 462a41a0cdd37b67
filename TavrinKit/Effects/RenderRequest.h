#pragma once

#include <memory>

#include "TavrinKit/Effects/MotionBlurPlan.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/TimelineModel.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// What frames are planned for.
struct RenderViewport {
    Size2D size{};  ///< pixels
    double fps = 0; ///< frames per second

    friend bool operator==(const RenderViewport&, const RenderViewport&) = default;
};

/// All that the plan of a take's frames follows from.
struct RenderRequest {
    double duration = 0; ///< seconds
    /// Shared, because the events of a long take are large. Null counts as a take without events.
    std::shared_ptr<const EventTimeline> events{};
    TimelineModel timeline{};
    RenderViewport viewport{};
    MotionBlurQualityMode blurMode = MotionBlurQualityMode::preview;
    bool sourceEmbedsCursor =
        false; ///< the recording shows a cursor of its own: no second one is drawn on it
};

} // namespace tavrin
