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

void convertI420ToBGRAReference(const PixelBuffer& source, const PixelBuffer& target) {
    const auto chromaAt = [&](int plane, int x, int y) {
        const PixelBuffer::Plane& p = source.plane(plane);
        const int far = std::clamp(y % 2 == 0 ? y / 2 - 1 : y / 2 + 1, 0, p.height - 1);
        const auto column = [&](int i) {
            return 0.75 * source.row(plane, y / 2)[i] + 0.25 * source.row(plane, far)[i] - 128;
        };
        return x % 2 == 0 ? column(x / 2) : (column(x / 2) + column(std::min(x / 2 + 1, p.width - 1))) / 2;
    };
    for (int y = 0; y < source.size().height; ++y) {
        for (int x = 0; x < source.size().width; ++x) {
            const double luma = (source.row(0, y)[x] - 16) * 255.0 / 219;
            const double cb = chromaAt(1, x, y) * 255 / 224;
            const double cr = chromaAt(2, x, y) * 255 / 224;
            std::uint8_t* out = target.row(0, y) + 4 * x;
            out[0] = toByte(luma + 1.8556 * cb);
            out[1] = toByte(luma - (0.0722 * 1.8556 * cb + 0.2126 * 1.5748 * cr) / 0.7152);
            out[2] = toByte(luma + 1.5748 * cr);
            out[3] = 255;
        }
    }
}

} // namespace tavrin
