#include "TavrinKit/Platform/X11/X11WindowPixmap.h"

#include <algorithm>

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11Event.h"

namespace tavrin {
namespace {

constexpr const char* purpose = "recording a window";

} // namespace

X11WindowPixmap::X11WindowPixmap(const X11Connection& connection, std::uint32_t topLevel)
    : connection_(connection), window_(topLevel) {
    connection.requireComposite(purpose);
    connection.requireFixes(purpose);
    damageEvent_ = connection.requireDamage(purpose);

    xcb_connection_t* xcb = connection.xcb();
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(xcb, topLevel, XCB_CW_EVENT_MASK, &events);
    xcb_composite_redirect_window(xcb, topLevel, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    damageID_ = xcb_generate_id(xcb);
    damagedParts_ = xcb_generate_id(xcb);
    xcb_xfixes_create_region(xcb, damagedParts_, 0, nullptr);
    xcb_damage_create(xcb, damageID_, topLevel, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);

    const auto attributesCookie = xcb_get_window_attributes(xcb, topLevel);
    const auto geometryCookie = xcb_get_geometry(xcb, topLevel);
    const X11Owned<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(xcb, attributesCookie, nullptr));
    const X11Owned<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(xcb, geometryCookie, nullptr));
    connection.throwIfBroken();
    if (!attributes || !geometry) {
        isGone_ = true;
        return;
    }
    isMapped_ = attributes->map_state != XCB_MAP_STATE_UNMAPPED;
    follow({geometry->x, geometry->y, geometry->width, geometry->height}, geometry->border_width);
}

X11WindowPixmap::~X11WindowPixmap() {
    xcb_connection_t* xcb = connection_.xcb();
    freePixmap();
    if (!isGone_) {
        xcb_damage_destroy(xcb, damageID_);
        xcb_composite_unredirect_window(xcb, window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    }
    xcb_xfixes_destroy_region(xcb, damagedParts_);
    connection_.flush();
}

bool X11WindowPixmap::handle(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type == damageEvent_ + XCB_DAMAGE_NOTIFY) {
        const bool isOurs = eventAs<xcb_damage_notify_event_t>(event).damage == damageID_;
        isDamaged_ = isDamaged_ || isOurs;
        return isOurs;
    }
    if ((event.response_type & ~eventTypeBits) != 0) {
        return false; // sent by a program, not by the server
    }
    switch (type) {
    case XCB_CONFIGURE_NOTIFY: {
        const auto& configured = eventAs<xcb_configure_notify_event_t>(event);
        if (configured.window != window_) {
            return false;
        }
        follow({configured.x, configured.y, configured.width, configured.height}, configured.border_width);
        return true;
    }
    case XCB_MAP_NOTIFY: {
        const bool isOurs = eventAs<xcb_map_notify_event_t>(event).window == window_;
        isMapped_ = isMapped_ || isOurs;
        isNameStale_ = isNameStale_ || isOurs;
        return isOurs;
    }
    case XCB_UNMAP_NOTIFY: {
        const bool isOurs = eventAs<xcb_unmap_notify_event_t>(event).window == window_;
        isMapped_ = isMapped_ && !isOurs;
        return isOurs;
    }
    case XCB_DESTROY_NOTIFY: {
        const bool isOurs = eventAs<xcb_destroy_notify_event_t>(event).window == window_;
        isGone_ = isGone_ || isOurs;
        isMapped_ = isMapped_ && !isOurs;
        return isOurs;
    }
    default:
        return false;
    }
}

void X11WindowPixmap::follow(const X11Rect& outer, int border) {
    const X11Rect area{outer.x, outer.y, outer.width + 2 * border, outer.height + 2 * border};
    isNameStale_ = isNameStale_ || area.width != area_.width || area.height != area_.height;
    area_ = area;
    border_ = border;
}

std::uint32_t X11WindowPixmap::pixmap() {
    if (isNameStale_ && isMapped_ && !isGone_) {
        name();
    }
    return isGone_ ? 0 : pixmap_;
}

void X11WindowPixmap::name() {
    xcb_connection_t* xcb = connection_.xcb();
    const std::uint32_t named = xcb_generate_id(xcb);
    const auto nameCookie = xcb_composite_name_window_pixmap_checked(xcb, window_, named);
    const auto geometryCookie = xcb_get_geometry(xcb, named);
    const X11Owned<xcb_generic_error_t> error(xcb_request_check(xcb, nameCookie));
    const X11Owned<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(xcb, geometryCookie, nullptr));
    connection_.throwIfBroken();
    if (error || !geometry) {
        return; // hidden or gone; the event that says so is under way
    }
    freePixmap();
    pixmap_ = named;
    size_ = {geometry->width, geometry->height};
    depth_ = geometry->depth;
    isNameStale_ = false;
    isAllDamaged_ = true;
    if (geometry->depth != 24 && geometry->depth != 32) {
        throw X11Error::unsuitablePixels(connection_.displayName(), geometry->depth);
    }
}

void X11WindowPixmap::freePixmap() {
    if (pixmap_ != 0) {
        xcb_free_pixmap(connection_.xcb(), pixmap_);
        pixmap_ = 0;
    }
}

std::vector<X11Rect> X11WindowPixmap::takeDamage() {
    std::vector<X11Rect> parts;
    const X11Rect whole{0, 0, size_.width, size_.height};
    if (isDamaged_ && !isGone_) {
        xcb_connection_t* xcb = connection_.xcb();
        xcb_damage_subtract(xcb, damageID_, XCB_NONE, damagedParts_);
        const auto cookie = xcb_xfixes_fetch_region(xcb, damagedParts_);
        const X11Owned<xcb_xfixes_fetch_region_reply_t> reply(
            xcb_xfixes_fetch_region_reply(xcb, cookie, nullptr));
        connection_.throwIfBroken();
        if (reply && !isAllDamaged_) {
            const xcb_rectangle_t* rectangles = xcb_xfixes_fetch_region_rectangles(reply.get());
            const int count = xcb_xfixes_fetch_region_rectangles_length(reply.get());
            std::for_each(rectangles, rectangles + count, [&](const xcb_rectangle_t& each) {
                // Damage counts from inside of the border.
                const X11Rect part{each.x + border_, each.y + border_, each.width, each.height};
                if (const X11Rect inside = part.intersection(whole); !inside.isEmpty()) {
                    parts.push_back(inside);
                }
            });
        }
    }
    if (isAllDamaged_ && !whole.isEmpty()) {
        parts = {whole};
        isAllDamaged_ = false;
    }
    isDamaged_ = false;
    return parts;
}

} // namespace tavrin
