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

/// The square with a circle's radius, in whole pixels.
Rect around(Vec2 center, double radius) {
    const double left = std::floor(center.x - radius);
    const double bottom = std::floor(center.y - radius);
    return {left, bottom, std::ceil(center.x + radius) - left, std::ceil(center.y + radius) - bottom};
}

/// What stands around the camera's picture before it is drawn; empty for no treatment.
Image cameraBackdropImage(CameraPiPBackgroundTreatment treatment, const Rect& rect, double cornerRadius,
                          const Rect& frame) {
    const double shorter = std::min(rect.width, rect.height);
    switch (treatment) {
    case CameraPiPBackgroundTreatment::none:
        return {};
    case CameraPiPBackgroundTreatment::plate:
        return applyGaussianBlur(Image::roundedRectangle(rect.inset(-rect.width * 0.06, -rect.height * 0.06),
                                                         shorter * 0.08 + cornerRadius,
                                                         {0.04, 0.05, 0.09, 0.54}),
                                 plateDeviation)
            .cropped(frame);
    case CameraPiPBackgroundTreatment::glow:
        return applyGaussianBlur(
            Image::radialGradient(rect.mid(), shorter * 0.18, {0.28, 0.74, 1, 0.26}, shorter * 0.92,
                                  {0.28, 0.74, 1, 0})
                .cropped(frame.intersection(around(rect.mid(), shorter * 0.92 + 3 * glowDeviation))),
            glowDeviation);
    }
    return {};
}

/// Within the picture's own rectangle, moved down. A camera's picture is opaque: its rounded content casts
/// the shadow of the plain shape, which is the same in every frame.
Image shadowOf(const Rect& rect, double cornerRadius, double opacity) {
    const Image shape =
        Image::roundedRectangle(rect, std::max(cornerRadius, 0.0), {0, 0, 0, clampedTo(opacity, 0, 1)});
    return applyGaussianBlur(shape.translated(0, -shadowDrop), shadowDeviation);
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
    result = shadowOf(rect, radius, style.shadowOpacity).cropped(bounds).over(result);
    result = rounded.cropped(bounds).over(result);
    if (style.borderOpacity > 0.01) {
        const double veil = std::min(style.borderOpacity, 1.0) * veilStrength;
        result = rounded.colorMatrix(ColorMatrix::veil(veil)).cropped(bounds).over(result);
    }
    return result;
}

} // namespace tavrin
