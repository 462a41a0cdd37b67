#pragma once

#include <memory>

#include "TavrinKit/Compositing/TemporalFrameSampler.h"
#include "TavrinKit/Effects/CameraTransform.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/CameraPiPStyle.h"

namespace tavrin {

/// The camera movie of a take, and how its clock relates to the recording's.
struct CameraCompositeContext {
    std::shared_ptr<const TemporalFrameSampler> sampler;
    CameraPiPStyle style;
    double timebaseOffsetSeconds = 0;
    double driftMillisecondsPerHour = 0;
    double durationSeconds = 0;          ///< of the camera movie
    double sourceStartOffsetSeconds = 0; ///< where the recording's clock starts within the untrimmed take

    /// The camera movie's time for a time of the (trimmed) recording, held to the movie.
    [[nodiscard]] double cameraTime(double sourceTime) const;
};

/// Puts the camera's picture into a corner of the frame: its backdrop, a shadow, the picture with round
/// corners and the faint veil that is its border.
///
/// What doesn't depend on the camera's pictures is the same piece of recipe from frame to frame. Immutable;
/// any thread.
class CameraPiPLayer {
public:
    explicit CameraPiPLayer(CameraCompositeContext context);

    /// @param frame  the part of the image that will be seen, to which the picture is anchored
    /// @return the image as it is when the style is off or the camera has no picture then
    [[nodiscard]] Image overlayCameraPiP(const Image& image, double sourceTime, const CameraTransform& camera,
                                         const Rect& frame) const;

    /// The same with a given picture of the camera, for a style that is on.
    [[nodiscard]] Image overlayPicture(const Image& image, const Image& picture,
                                       const CameraTransform& camera, const Rect& frame) const;

private:
    CameraCompositeContext context_;
};

} // namespace tavrin
