#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "TavrinKit/Compositing/AnnotationLayer.h"
#include "TavrinKit/Compositing/CameraPiPLayer.h"
#include "TavrinKit/Compositing/CursorLayer.h"
#include "TavrinKit/Compositing/FramingLayer.h"
#include "TavrinKit/Compositing/TemporalFrameSampler.h"
#include "TavrinKit/Compositing/TypingLayer.h"
#include "TavrinKit/Compositing/WatermarkLayer.h"
#include "TavrinKit/Effects/CameraAnimator.h"
#include "TavrinKit/Effects/CursorRenderer.h"
#include "TavrinKit/Effects/MotionBlurPlan.h"
#include "TavrinKit/Effects/TypingBursts.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/TimelineModel.h"
#include "TavrinKit/Project/TimelineTimeMapper.h"

namespace tavrin {

/// Draws one frame of the finished movie: given a decoded picture of the recording and the edit, it chains
/// the effects over it. This is what gives preview and export their look.
///
/// Layers from the bottom: the recording, blurred by its motion, zoomed, cropped and framed on its
/// background; the camera's picture; the cursor's trail, its body, the click highlight; the typing panel;
/// annotations; the watermark. Nothing is drawn here: the answer is a recipe, and what stays the same from
/// frame to frame is the same piece of it. Geometry is in pixels of the working frame, y upward; normalised
/// values are multiplied straight into it. No input makes a frame fail: an overlay that cannot be made is
/// left out.
///
/// Immutable after construction: any number of threads may compose at once, in any order of times.
class FrameCompositor {
public:
    /// Frames mixed from several instants.
    struct MotionBlur {
        MotionBlurPlan plan;
        std::shared_ptr<const TemporalFrameSampler> sampler; ///< of the edited asset, on the edited clock
    };

    struct Inputs {
        std::shared_ptr<const EventTimeline> events; ///< on the recording's clock; absent counts as none
        TimelineModel timeline;
        TimelineTimeMapper timeMapper;
        double sourceDuration = 0;       ///< seconds of the recording; where the cursor's clock ends
        bool sourceEmbedsCursor = false; ///< the recording shows a cursor itself: none is drawn over it
        std::optional<std::filesystem::path> packageRoot; ///< where relative picture paths start
        std::optional<MotionBlur> motionBlur{};
        std::optional<CameraCompositeContext> camera{};
        PixelSize outputSize;
    };

    explicit FrameCompositor(Inputs inputs);

    /// @param editedTime  seconds on the clock of the finished movie
    /// @param source      the recording's picture then
    /// @return a recipe whose extent is the output rectangle, from (0, 0)
    [[nodiscard]] Image compose(double editedTime, const Image& source) const;

private:
    [[nodiscard]] Image blurredOrZoomed(double editedTime, const Image& source,
                                        const CameraTransform& camera) const;
    [[nodiscard]] CursorFrameState cursorState(double sourceTime) const;
    [[nodiscard]] TypingFrameState typingState(double sourceTime) const;

    Inputs inputs_;
    std::optional<double> lastActivity_; ///< seconds on the recording's clock
    TypingBursts typingBursts_;
    CameraAnimator cameraAnimator_;
    FramingLayer framing_;
    std::optional<CameraPiPLayer> cameraPiP_;
    CursorLayer cursor_;
    TypingLayer typing_;
    AnnotationLayer annotations_;
    WatermarkLayer watermark_;
};

} // namespace tavrin
