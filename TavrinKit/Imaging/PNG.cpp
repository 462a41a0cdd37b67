#include "TavrinKit/Imaging/PNG.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

#include <cairo.h>

namespace tavrin {
namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

struct Claim {
    std::size_t width;
    std::size_t height;
};

/// The size that the header claims.
std::optional<Claim> claimedSize(std::span<const std::uint8_t> data) {
    constexpr std::array<std::uint8_t, 16> start{0x89, 'P', 'N', 'G', 0x0d, 0x0a, 0x1a, 0x0a,
                                                 0,    0,   0,   13,  'I',  'H',  'D',  'R'};
    constexpr std::size_t headerSize = 24;
    if (data.size() < headerSize || !std::equal(start.begin(), start.end(), data.begin())) {
        return {};
    }
    const auto number = [&](std::size_t at) {
        return std::size_t(data[at]) << 24 | std::size_t(data[at + 1]) << 16 |
               std::size_t(data[at + 2]) << 8 | std::size_t(data[at + 3]);
    };
    return Claim{number(16), number(20)};
}

cairo_status_t readBytes(void* closure, unsigned char* target, unsigned int length) {
    auto& rest = *static_cast<std::span<const std::uint8_t>*>(closure);
    if (rest.size() < length) {
        return CAIRO_STATUS_READ_ERROR;
    }
    std::copy_n(rest.begin(), length, target);
    rest = rest.subspan(length);
    return CAIRO_STATUS_SUCCESS;
}

cairo_status_t writeBytes(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

/// Draws a surface of whatever format into a new picture.
std::optional<PixelBuffer> copied(cairo_surface_t* source) {
    const PixelSize size{cairo_image_surface_get_width(source), cairo_image_surface_get_height(source)};
    PixelBuffer picture = PixelBuffer::allocate(PixelFormat::bgra8, size);
    const Surface target(cairo_image_surface_create_for_data(picture.row(0, 0), CAIRO_FORMAT_ARGB32,
                                                             size.width, size.height,
                                                             int(picture.plane(0).stride)),
                         &cairo_surface_destroy);
    cairo_t* cairo = cairo_create(target.get());
    cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cairo, source, 0, 0);
    cairo_paint(cairo);
    const bool drawn = cairo_status(cairo) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(cairo);
    cairo_surface_finish(target.get());
    return drawn ? std::optional(picture) : std::nullopt;
}

} // namespace

std::optional<PixelBuffer> decodePNG(std::span<const std::uint8_t> data, std::size_t maximumPixels) {
    const auto claim = claimedSize(data);
    if (!claim || claim->width == 0 || claim->height == 0 || claim->height > maximumPixels / claim->width) {
        return {};
    }
    const Surface surface(cairo_image_surface_create_from_png_stream(readBytes, &data),
                          &cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        return {};
    }
    return copied(surface.get());
}

std::string encodePNG(const PixelBuffer& picture) {
    if (picture.isEmpty() || picture.format() != PixelFormat::bgra8) {
        throw std::invalid_argument("Only a bgra8 picture can become a PNG.");
    }
    // A copy, for Cairo has no rows that run upward and no strides of other people's choosing.
    const PixelSize size = picture.size();
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size.width, size.height),
                          &cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        throw std::invalid_argument("The picture is too large for a PNG.");
    }
    unsigned char* data = cairo_image_surface_get_data(surface.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < size.height; ++y) {
        std::memcpy(data + stride * y, picture.row(0, y), std::size_t(size.width) * 4);
    }
    cairo_surface_mark_dirty(surface.get());
    std::string result;
    if (cairo_surface_write_to_png_stream(surface.get(), writeBytes, &result) != CAIRO_STATUS_SUCCESS) {
        throw std::bad_alloc();
    }
    return result;
}

} // namespace tavrin
