#include "TavrinKit/Compositing/PixelGrid.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

/// Rounding errors of the sums that lead to a coordinate are far below this share of a pixel.
constexpr double tolerance = 1e-6;

double heldScale(double scale) {
    return clampedTo(scale, 1.0 / 16, 4);
}

/// What is drawn once needs no cache.
constexpr ImageRenderer::Options once{.threads = 1, .cacheBytes = 0};

} // namespace

PixelGrid PixelGrid::of(const Rect& extent, const Rect& output) {
    const Rect seen = seenPart(extent, output);
    const Vec2 scale = outputScale(seen, output);
    return {{seen.minX(), seen.minY()}, {heldScale(scale.x), heldScale(scale.y)}};
}

Rect PixelGrid::aligned(const Rect& rect) const {
    const auto below = [](double value, double start, double k) {
        return start + std::floor((value - start) * k + tolerance) / k;
    };
    const auto above = [](double value, double start, double k) {
        return start + std::ceil((value - start) * k - tolerance) / k;
    };
    const double left = below(rect.minX(), origin.x, scale.x);
    const double bottom = below(rect.minY(), origin.y, scale.y);
    return {left, bottom, above(rect.maxX(), origin.x, scale.x) - left,
            above(rect.maxY(), origin.y, scale.y) - bottom};
}

PixelGrid PixelGrid::within(double placedScale, Vec2 placedOrigin) const {
    return {(origin - placedOrigin) * (1 / placedScale), scale * placedScale};
}

Raster PixelGrid::raster(const Rect& rect) const {
    return Raster(aligned(rect), scale);
}

Image PixelGrid::drawn(const Image& image) const {
    if (image.isEmpty()) {
        return image;
    }
    const Rect bounds = aligned(image.extent());
    const PixelSize size{int(std::lround(bounds.width * scale.x)), int(std::lround(bounds.height * scale.y))};
    const Image inPixels = image.translated(-bounds.minX(), -bounds.minY())
                               .transformed(AffineTransform::scale(scale.x, scale.y));
    const PixelBuffer pixels =
        ImageRenderer(once).render(inPixels, Rect{0, 0, double(size.width), double(size.height)});
    return Image::pixels(pixels)
        .transformed(AffineTransform::scale(1 / scale.x, 1 / scale.y))
        .translated(bounds.minX(), bounds.minY());
}

} // namespace tavrin
