#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "TavrinKit/Imaging/Image.h"

namespace tavrin::testing {

/// A picture like a screen: flat areas, fine lines, hard edges, some colour.
inline PixelBuffer screenLike420(PixelSize size, unsigned seed) {
    const PixelBuffer buffer = PixelBuffer::allocate(PixelFormat::i420, size);
    std::mt19937 random(seed);
    for (int plane = 0; plane < 3; ++plane) {
        const PixelBuffer::Plane& p = buffer.plane(plane);
        const int low = 16;
        const int high = plane == 0 ? 235 : 240;
        for (int y = 0; y < p.height; ++y) {
            for (int x = 0; x < p.width; ++x) {
                buffer.row(plane, y)[x] = std::uint8_t(plane == 0 ? 200 - y * 60 / p.height : 128);
            }
        }
        for (int i = 0; i < 40; ++i) {
            const int width = 1 + int(random() % unsigned(std::max(2, p.width / 3)));
            const int height = 1 + int(random() % unsigned(std::max(2, p.height / 5)));
            const int x0 = int(random() % unsigned(p.width));
            const int y0 = int(random() % unsigned(p.height));
            const auto value = std::uint8_t(low + int(random() % unsigned(high - low)));
            for (int y = y0; y < std::min(p.height, y0 + height); ++y) {
                for (int x = x0; x < std::min(p.width, x0 + width); ++x) {
                    buffer.row(plane, y)[x] = value;
                }
            }
        }
    }
    return buffer;
}

inline void fill(const PixelBuffer& picture, int plane, std::uint8_t value) {
    for (int y = 0; y < picture.plane(plane).height; ++y) {
        std::memset(picture.row(plane, y), value, std::size_t(picture.plane(plane).width));
    }
}

inline bool sameBytes(const PixelBuffer& a, const PixelBuffer& b) {
    if (a.size() != b.size() || a.format() != b.format()) {
        return false;
    }
    for (int plane = 0; plane < a.planeCount(); ++plane) {
        const PixelBuffer::Plane& p = a.plane(plane);
        const std::size_t bytes = std::size_t(p.width) * (a.format() == PixelFormat::bgra8 ? 4 : 1);
        for (int y = 0; y < p.height; ++y) {
            if (std::memcmp(a.row(plane, y), b.row(plane, y), bytes) != 0) {
                return false;
            }
        }
    }
    return true;
}

/// A round spot with a soft edge, premultiplied.
inline PixelBuffer spot(int side, const Color& color) {
    const PixelBuffer buffer = PixelBuffer::allocate(PixelFormat::bgra8, {side, side});
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double distance = std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0);
            const double a = std::clamp(side / 2.0 - 1.5 - distance, 0.0, 1.0) * color.a;
            std::uint8_t* p = buffer.row(0, y) + std::ptrdiff_t(x) * 4;
            p[0] = std::uint8_t(std::lround(color.b * a * 255));
            p[1] = std::uint8_t(std::lround(color.g * a * 255));
            p[2] = std::uint8_t(std::lround(color.r * a * 255));
            p[3] = std::uint8_t(std::lround(a * 255));
        }
    }
    return buffer;
}

/// A zoomed, framed, rounded recording with shadow, background, sprite and gradient: all that a frame holds.
inline Image framedPicture(const Image& movie, Size2D size, double zoom, Vec2 cursor, const Image& sprite) {
    const Rect frame{0, 0, size.width, size.height};
    const Vec2 focus{size.width * 0.3, size.height * 0.6};
    Image picture = movie.clampedToExtent()
                        .transformed({zoom, 0, 0, zoom, focus.x * (1 - zoom), focus.y * (1 - zoom)})
                        .cropped(frame);
    const Rect inner = frame.inset(22, 22);
    const double scale = std::min(inner.width / size.width, inner.height / size.height);
    const double tx = inner.midX() - scale * size.width / 2;
    const double ty = inner.midY() - scale * size.height / 2;
    picture = picture.clampedToExtent().transformed({scale, 0, 0, scale, tx, ty}).cropped(inner);
    const Image nothing = Image::color({0, 0, 0, 0}).cropped(inner);
    picture = picture.blendedWithMask(nothing, Image::roundedRectangle(inner, 14, {1, 1, 1, 1}));
    const Image shadow =
        picture.colorMatrix(ColorMatrix::shadow(0.4)).translated(0, -6).blurred(7).cropped(frame);
    const Image background =
        Image::linearGradient({0, 0}, {0.06, 0.09, 0.16}, {size.width, size.height}, {0.2, 0.25, 0.33})
            .cropped(frame);
    Image result = picture.over(shadow.over(background));
    result = Image::radialGradient(cursor, 4, {0.28, 0.74, 1, 0.6}, 30, {0.3, 0.72, 1, 0})
                 .cropped(frame)
                 .over(result);
    const Image body = sprite.translated(cursor.x, cursor.y);
    result = body.colorMatrix(ColorMatrix::shadow(0.34)).translated(1.6, -1.2).cropped(frame).over(result);
    return body.colorMatrix(ColorMatrix::opacity(0.8)).cropped(frame).over(result);
}

} // namespace tavrin::testing
