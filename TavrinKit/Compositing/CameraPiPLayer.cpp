#include "TavrinKit/Compositing/CameraPiPLayer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Effects/CameraPiPLayoutResolver.h"
#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

constexpr double shadowDrop = 3;
constexpr double shadowDeviation = 8;
constexpr double plateDeviation = 12;
constexpr double glowDeviation = 10;
constexpr double veilStrength = 0.22;
constexpr double millisecondsPerHour = 3'600'000;

/// What stands around the camera's picture before it is drawn; empty for no treatment.
Image cameraBackdropImage(CameraPiPBackgroundTreatment treatment, const Rect& rect, double cornerRadius,
                          const Rect& frame) {
    const double shorter = std::min(rect.width, rect.height);
    switch (treatment) {
    case CameraPiPBackgroundTreatment::none:
        return {};
    case CameraPiPBackgroundTreatment::plate:
        return Image::roundedRectangle(rect.inset(-rect.width * 0.06, -rect.height * 0.06),
                                       shorter * 0.08 + cornerRadius, {0.04, 0.05, 0.09, 0.54})
            .blurred(plateDeviation)
            .cropped(frame);
    case CameraPiPBackgroundTreatment::glow:
        return softDisc(rect.mid(), shorter * 0.18, {0.28, 0.74, 1, 0.26}, shorter * 0.92, {0.28, 0.74, 1, 0},
                        frame)
            .blurred(glowDeviation)
            .cropped(frame);
    }
    return {};
}

/// Soft beyond the picture's own rectangle, in which it would end in hard edges.
Image softShadow(const Image& rounded, double opacity) {
    return rounded.colorMatrix(ColorMatrix::shadow(clampedTo(opacity, 0, 1)))
        .translated(0, -shadowDrop)
        .blurred(shadowDeviation);
}

} // namespace

double CameraCompositeContext::cameraTime(double sourceTime) const {
    const double untrimmed = sourceTime + sourceStartOffsetSeconds;
    const double drift = untrimmed * driftMillisecondsPerHour / millisecondsPerHour;
    return clampedTo(untrimmed + timebaseOffsetSeconds + drift, 0, atLeast(durationSeconds, 0));
}

CameraPiPLayer::CameraPiPLayer(CameraCompositeContext context) : context_(std::move(context)) {}

Image CameraPiPLayer::overlayCameraPiP(const Image& image, double sourceTime, const CameraTransform& camera,
                                       const Rect& frame) const {
    if (!context_.style.enabled || !context_.sampler) {
        return image;
    }
    const auto sample = context_.sampler->sample(context_.cameraTime(sourceTime));
    return sample ? overlayPicture(image, sample->image, camera, frame) : image;
}

Image CameraPiPLayer::overlayPicture(const Image& image, const Image& picture, const CameraTransform& camera,
                                     const Rect& frame) const {
    const CameraPiPStyle& style = context_.style;
    const Rect rect = CameraPiPLayoutResolver::rect(frame, style, camera);
    if (!isDrawable(rect) || picture.isEmpty() || image.isEmpty()) {
        return image;
    }
    const double radius = CameraPiPLayoutResolver::cornerRadius(rect, style);
    const Image rounded = applyCornerRadius(fit(picture, rect), radius, rect);

    const Rect& bounds = image.extent();
    Image result = cameraBackdropImage(style.backgroundTreatment, rect, radius, bounds).over(image);
    result = softShadow(rounded, style.shadowOpacity).cropped(bounds).over(result);
    result = rounded.cropped(bounds).over(result);
    if (style.borderOpacity > 0.01) {
        const double veil = std::min(style.borderOpacity, 1.0) * veilStrength;
        result = rounded.colorMatrix(ColorMatrix::veil(veil)).cropped(bounds).over(result);
    }
    return result;
}

} // namespace tavrin
