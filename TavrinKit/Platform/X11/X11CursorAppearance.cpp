#include "TavrinKit/Platform/X11/X11CursorAppearance.h"

#include <array>
#include <cstring>
#include <memory>
#include <string>

#include <cairo.h>
#include <fmt/format.h>
#include <openssl/evp.h>

namespace tavrin {
namespace {

std::string identifierOf(const X11CursorImage& image) {
    const std::array<std::int32_t, 4> head{image.width, image.height, image.hotSpotX, image.hotSpotY};
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> digest(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned int length = 0;
    EVP_DigestInit_ex(digest.get(), EVP_sha256(), nullptr);
    EVP_DigestUpdate(digest.get(), head.data(), sizeof head);
    EVP_DigestUpdate(digest.get(), image.pixels.data(), image.pixels.size() * sizeof(std::uint32_t));
    EVP_DigestFinal_ex(digest.get(), hash.data(), &length);
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        text += fmt::format("{:02x}", hash[i]);
    }
    return text;
}

cairo_status_t append(void* closure, const unsigned char* data, unsigned int length) {
    auto& bytes = *static_cast<Bytes*>(closure);
    const auto* begin = reinterpret_cast<const Bytes::value_type*>(data);
    bytes.insert(bytes.end(), begin, begin + length);
    return CAIRO_STATUS_SUCCESS;
}

Bytes pngOf(const X11CursorImage& image) {
    const std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, image.width, image.height), &cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        return {};
    }
    cairo_surface_flush(surface.get());
    unsigned char* rows = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < image.height; ++y) {
        std::memcpy(rows + std::ptrdiff_t(y) * stride, image.pixels.data() + std::ptrdiff_t(y) * image.width,
                    std::size_t(image.width) * sizeof(std::uint32_t));
    }
    cairo_surface_mark_dirty(surface.get());
    Bytes bytes;
    cairo_surface_write_to_png_stream(surface.get(), append, &bytes);
    return bytes;
}

} // namespace

CursorAppearance cursorAppearance(const X11CursorImage& image) {
    return CursorAppearance(identifierOf(image), pngOf(image),
                            {double(image.hotSpotX), double(image.height - image.hotSpotY)},
                            {double(image.width), double(image.height)});
}

} // namespace tavrin
