#pragma once

#include "TavrinKit/Effects/CameraTransform.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/CropRegion.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

// The steps from which a frame is made. Each takes an image and gives a new recipe; all are pure and total:
// a number that is not finite counts as the step's harmless value.

/// The point that stays still while the camera zooms, in pixels: a centre with both coordinates in 0...1 is
/// a fraction of the extent, any other is in pixels already. Held to the extent.
[[nodiscard]] Vec2 resolvedCameraFocus(Vec2 center, const Rect& extent);

/// Lets the picture grow around the focus by the camera's scale, within its own extent. A scale of 1.0001 or
/// less leaves it as it is.
[[nodiscard]] Image applyCamera(const Image& image, const CameraTransform& camera);

/// The region of the image, moved to the origin. The whole frame, and a region of no more than a pixel
/// either way, leave the image as it is.
[[nodiscard]] Image applyCrop(const Image& image, const CropRegion& region);

/// The whole image, scaled to the largest size that the target holds, in its middle; what is left of the
/// target is filled with the image's edge pixels.
[[nodiscard]] Image fit(const Image& image, const Rect& target);

/// The image scaled to the smallest size that covers the target, its middle on the target's.
[[nodiscard]] Image fill(const Image& image, const Rect& target);

/// The image inside `rect` with round corners, transparent elsewhere in its extent. A radius that is not
/// positive leaves it as it is.
[[nodiscard]] Image applyCornerRadius(const Image& image, double radius, const Rect& rect);

/// Blurred within its extent, as though its edge pixels went on outside.
/// @param radius  the Gaussian's standard deviation in pixels
[[nodiscard]] Image applyGaussianBlur(const Image& image, double radius);

/// @param opacity  held to 0...1; from 0.999 on the image stays as it is
[[nodiscard]] Image applyingOpacity(const Image& image, double opacity);

/// A disc of one colour up to `radius0` that fades to `edge` at `radius1`, within the frame. `edge` has no
/// alpha, so nothing is drawn beyond.
[[nodiscard]] Image softDisc(Vec2 center, double radius0, const Color& color, double radius1,
                             const Color& edge, const Rect& frame);

/// Width over height, a height of no more than a pixel counting as one.
[[nodiscard]] double aspectOf(Size2D size);

/// The largest part of a rectangle that has this aspect, in its middle.
/// @param targetAspect  width / height
[[nodiscard]] Rect centerCropRect(const Rect& extent, double targetAspect);

/// The largest part of the image of this aspect, cut from its middle.
/// @param targetAspect  width / height
[[nodiscard]] Image centerCrop(const Image& image, double targetAspect);

/// Large enough to be seen, more than a pixel either way, and not so large or so far away that sums of its
/// coordinates lose whole pixels.
[[nodiscard]] bool isDrawable(const Rect& rect);

/// The part of a frame of this extent that `renderToOutput` shows: what lies outside is cut away at the end.
/// Whatever is to be seen whole is laid out in it.
[[nodiscard]] Rect seenPart(const Rect& extent, const Rect& output);

/// Pixels of the output to a pixel of the frame, on each axis.
/// @param seen  the part of the frame that is shown
[[nodiscard]] Vec2 outputScale(const Rect& seen, const Rect& output);

/// Brings the image to the output's size: centre-cropped to its aspect, never letterboxed.
[[nodiscard]] Image renderToOutput(const Image& image, const Rect& output);

} // namespace tavrin
