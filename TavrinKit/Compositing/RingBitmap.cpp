#include "TavrinKit/Compositing/RingBitmap.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "TavrinKit/Compositing/RecentlyUsed.h"
#include "TavrinKit/Imaging/Raster.h"

namespace tavrin {
namespace {

constexpr double largestSide = 4096;
constexpr std::size_t keptBitmaps = 32;

struct Ring {
    double inner;
    double lineWidth;
    double side; ///< of the bitmap, whole pixels
    Color color;

    friend bool operator==(const Ring&, const Ring&) = default;
};

std::optional<Ring> ringOf(double inner, double outer, const Color& color) {
    const double outside = std::max(outer, inner + 0.5);
    const double lineWidth = std::max(outside - inner, 1.0);
    const double side = std::max(std::ceil((outside + lineWidth + 4) * 2), 1.0);
    return side <= largestSide ? std::optional(Ring{inner, lineWidth, side, color}) : std::nullopt;
}

Image drawn(const Ring& ring) {
    Raster raster({int(ring.side), int(ring.side)}, Raster::YAxis::down);
    raster.strokeCircle({ring.side / 2, ring.side / 2}, std::max(ring.inner + ring.lineWidth * 0.5, 0.5),
                        ring.lineWidth, ring.color);
    return raster.image();
}

Image bitmap(const Ring& ring) {
    static RecentlyUsed<Ring, Image> bitmaps(keptBitmaps);
    return bitmaps.value(ring, [&] { return drawn(ring); });
}

} // namespace

Image overlayRing(const Image& image, Vec2 center, double inner, double outer, const Color& color) {
    const auto ring = ringOf(inner, outer, color);
    if (!ring) {
        return image;
    }
    return bitmap(*ring)
        .translated(center.x - ring->side / 2, center.y - ring->side / 2)
        .cropped(image.extent())
        .over(image);
}

} // namespace tavrin
