#include <algorithm>
#include <cmath>

#include "TavrinKit/Media/PixelConversion.h"

namespace tavrin {
namespace {

std::uint8_t toByte(double value) {
    return std::uint8_t(std::clamp(std::lround(value), 0L, 255L));
}

struct Rgb {
    double r = 0, g = 0, b = 0;
};

double lumaPart(const Rgb& c) {
    return 0.2126 * c.r + 0.7152 * c.g + 0.0722 * c.b;
}

} // namespace

void convertBGRXToI420Reference(const PixelBuffer& source, const PixelBuffer& target, PixelRect area) {
    const PixelRect even = widenedForChroma(area, source.size());
    const PixelSize size = source.size();
    const auto pixel = [&](int x, int y) {
        const std::uint8_t* p =
            source.row(0, std::min(y, size.height - 1)) + 4 * std::clamp(x, 0, size.width - 1);
        return Rgb{double(p[2]), double(p[1]), double(p[0])};
    };
    for (int y = even.y; y < even.y + even.height; ++y) {
        for (int x = even.x; x < even.x + even.width; ++x) {
            target.row(0, y)[x] = toByte(16 + lumaPart(pixel(x, y)) * 219 / 255);
        }
    }
    for (int y = even.y; y < even.y + even.height; y += 2) {
        for (int x = even.x; x < even.x + even.width; x += 2) {
            Rgb mean;
            for (int dy = 0; dy < 2; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const Rgb p = pixel(x + dx, y + dy);
                    const double weight = dx == 0 ? 0.25 : 0.125;
                    mean = {mean.r + weight * p.r, mean.g + weight * p.g, mean.b + weight * p.b};
                }
            }
            target.row(1, y / 2)[x / 2] = toByte(128 + (mean.b - lumaPart(mean)) / 1.8556 * 224 / 255);
            target.row(2, y / 2)[x / 2] = toByte(128 + (mean.r - lumaPart(mean)) / 1.5748 * 224 / 255);
        }
    }
}

} // namespace tavrin
