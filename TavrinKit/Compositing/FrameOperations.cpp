#include "TavrinKit/Compositing/FrameOperations.h"

#include <algorithm>
#include <cmath>

namespace tavrin {
namespace {

/// A picture grown further is a single pixel anyway; arithmetic stays exact enough up to here.
constexpr double largestScale = 1e6;

/// A length to divide by.
double divisor(double length) {
    return length > 1 ? length : 1;
}

/// Scales by `scale` and moves the middle of `from` onto the middle of `to`.
AffineTransform centering(const Rect& from, const Rect& to, double scale) {
    return {scale, 0, 0, scale, to.midX() - from.midX() * scale, to.midY() - from.midY() * scale};
}

bool hasArea(const Rect& rect) {
    return !rect.isNull() && rect.width > 0 && rect.height > 0;
}

Image placedInto(const Image& image, const Rect& target, double scale) {
    return image.clampedToExtent().transformed(centering(image.extent(), target, scale)).cropped(target);
}

} // namespace

Vec2 resolvedCameraFocus(Vec2 center, const Rect& extent) {
    if (!center.isFinite()) {
        return extent.mid();
    }
    const Vec2 point = center.isNormalized() ? Vec2{extent.minX() + extent.width * center.x,
                                                    extent.minY() + extent.height * center.y}
                                             : center;
    return {std::clamp(point.x, extent.minX(), extent.maxX()),
            std::clamp(point.y, extent.minY(), extent.maxY())};
}

Image applyCamera(const Image& image, const CameraTransform& camera) {
    if (!(camera.scale > 1.0001) || !std::isfinite(camera.scale) || image.isEmpty()) {
        return image;
    }
    const Vec2 focus = resolvedCameraFocus(camera.center, image.extent());
    const double scale = std::min(camera.scale, largestScale);
    const AffineTransform zoom{scale, 0, 0, scale, focus.x - scale * focus.x, focus.y - scale * focus.y};
    return image.clampedToExtent().transformed(zoom).cropped(image.extent());
}

Image applyCrop(const Image& image, const CropRegion& region) {
    const Rect& extent = image.extent();
    if (image.isEmpty() || !(extent.width > 0.1) || !(extent.height > 0.1) || region.isFullFrame()) {
        return image;
    }
    const Rect rect{extent.minX() + extent.width * region.x, extent.minY() + extent.height * region.y,
                    extent.width * region.width, extent.height * region.height};
    const bool isFinite = rect.origin().isFinite() && std::isfinite(rect.width) && std::isfinite(rect.height);
    if (!isFinite || !(rect.width > 1) || !(rect.height > 1) || rect.intersection(extent).isEmpty()) {
        return image;
    }
    return image.cropped(rect).translated(-rect.minX(), -rect.minY());
}

Image fit(const Image& image, const Rect& target) {
    const Rect& extent = image.extent();
    if (!hasArea(extent) || !hasArea(target)) {
        return image.cropped(target);
    }
    return placedInto(image, target, std::min(target.width / extent.width, target.height / extent.height));
}

Image fill(const Image& image, const Rect& target) {
    const Rect& extent = image.extent();
    if (!hasArea(extent) || !hasArea(target)) {
        return image.cropped(target);
    }
    return placedInto(image, target, std::max(target.width / extent.width, target.height / extent.height));
}

Image applyCornerRadius(const Image& image, double radius, const Rect& rect) {
    if (!(radius > 0) || image.isEmpty()) {
        return image;
    }
    const Image mask = Image::roundedRectangle(rect, radius, {1, 1, 1, 1}).cropped(image.extent());
    const Image nothing = Image::color({0, 0, 0, 0}).cropped(image.extent());
    return image.blendedWithMask(nothing, mask);
}

Image applyGaussianBlur(const Image& image, double radius) {
    return image.clampedToExtent().blurred(radius).cropped(image.extent());
}

Image applyingOpacity(const Image& image, double opacity) {
    if (opacity >= 0.999) {
        return image;
    }
    return image.colorMatrix(ColorMatrix::opacity(opacity > 0 ? opacity : 0));
}

Image softDisc(Vec2 center, double radius0, const Color& color, double radius1, const Color& edge,
               const Rect& frame) {
    const double reach = std::max(radius0, radius1);
    const double left = std::floor(center.x - reach);
    const double bottom = std::floor(center.y - reach);
    const Rect bounds{left, bottom, std::ceil(center.x + reach) - left, std::ceil(center.y + reach) - bottom};
    return Image::radialGradient(center, radius0, color, radius1, edge).cropped(frame.intersection(bounds));
}

double aspectOf(Size2D size) {
    return size.width / divisor(size.height);
}

Rect centerCropRect(const Rect& extent, double targetAspect) {
    if (!hasArea(extent) || !(targetAspect > 0) || !std::isfinite(targetAspect)) {
        return extent;
    }
    const double aspect = aspectOf(extent.size());
    if (aspect > targetAspect) {
        const double width = extent.height * targetAspect;
        return {extent.midX() - width / 2, extent.minY(), width, extent.height};
    }
    if (aspect < targetAspect) {
        const double height = extent.width / targetAspect;
        return {extent.minX(), extent.midY() - height / 2, extent.width, height};
    }
    return extent;
}

Image centerCrop(const Image& image, double targetAspect) {
    return image.cropped(centerCropRect(image.extent(), targetAspect));
}

bool isDrawable(const Rect& rect) {
    constexpr double farthest = 1e6;
    const auto isNear = [](double coordinate) {
        return std::abs(coordinate) <= farthest;
    };
    return rect.width > 1 && rect.height > 1 && isNear(rect.x) && isNear(rect.y) && isNear(rect.width) &&
           isNear(rect.height);
}

Rect seenPart(const Rect& extent, const Rect& output) {
    return hasArea(output) ? centerCropRect(extent, aspectOf(output.size())) : extent;
}

Vec2 outputScale(const Rect& seen, const Rect& output) {
    return {output.width / divisor(seen.width), output.height / divisor(seen.height)};
}

Image renderToOutput(const Image& image, const Rect& output) {
    if (!hasArea(output) || image.isEmpty()) {
        return image;
    }
    const Image cut = centerCrop(image, aspectOf(output.size()));
    const Rect& extent = cut.extent();
    if (extent == output) {
        return cut;
    }
    const Vec2 scale = outputScale(extent, output);
    return cut.translated(-extent.minX(), -extent.minY())
        .clampedToExtent()
        .transformed(AffineTransform::scale(scale.x, scale.y))
        .cropped(output);
}

} // namespace tavrin
