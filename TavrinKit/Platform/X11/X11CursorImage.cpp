#include "TavrinKit/Platform/X11/X11CursorImage.h"

#include <algorithm>
#include <cstring>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin {
namespace {

/// source + under * (1 - alpha), each of the four bytes rounded to nearest.
std::uint32_t over(std::uint32_t source, std::uint32_t under) {
    const std::uint32_t rest = 255 - (source >> 24);
    std::uint32_t result = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const std::uint32_t product = (under >> shift & 0xff) * rest + 128;
        const std::uint32_t sum = (source >> shift & 0xff) + ((product + (product >> 8)) >> 8);
        result |= std::min<std::uint32_t>(sum, 255) << shift;
    }
    return result;
}

} // namespace

std::optional<X11CursorImage> X11CursorImage::current(const X11Connection& connection) {
    const auto cookie = xcb_xfixes_get_cursor_image(connection.xcb());
    const X11Owned<xcb_xfixes_get_cursor_image_reply_t> reply(
        xcb_xfixes_get_cursor_image_reply(connection.xcb(), cookie, nullptr));
    connection.throwIfBroken();
    if (!reply || reply->width == 0 || reply->height == 0) {
        return std::nullopt;
    }
    X11CursorImage image;
    image.width = reply->width;
    image.height = reply->height;
    image.hotSpotX = reply->xhot;
    image.hotSpotY = reply->yhot;
    image.serial = reply->cursor_serial;
    const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
    image.pixels.assign(pixels, pixels + xcb_xfixes_get_cursor_image_cursor_image_length(reply.get()));
    return image;
}

bool X11CursorImage::isVisible() const {
    return std::any_of(pixels.begin(), pixels.end(), [](std::uint32_t pixel) { return pixel >> 24 != 0; });
}

void X11CursorImage::drawAt(int x, int y, const PixelBuffer& target, const X11Rect& area) const {
    const X11Rect place = areaAt(x, y);
    const X11Rect seen = place.intersection(area);
    for (int row = 0; row < seen.height; ++row) {
        const std::uint32_t* source =
            pixels.data() + std::ptrdiff_t(seen.y - place.y + row) * width + (seen.x - place.x);
        std::uint8_t* under = target.row(0, seen.y - area.y + row) + std::ptrdiff_t(seen.x - area.x) * 4;
        for (int column = 0; column < seen.width; ++column) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, under + std::ptrdiff_t(column) * 4, 4);
            pixel = over(source[column], pixel);
            std::memcpy(under + std::ptrdiff_t(column) * 4, &pixel, 4);
        }
    }
}

} // namespace tavrin
