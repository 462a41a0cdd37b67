#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <xcb/xcb.h>

namespace tavrin {

class X11Connection;

// Properties of windows. Asking and reading are two steps, so that the questions about many windows cost one
// round trip together. A window that is gone and a property that isn't set are empty.

/// @param type  XCB_ATOM_ANY: whichever it has
[[nodiscard]] xcb_get_property_cookie_t askProperty(const X11Connection& connection, std::uint32_t window,
                                                    std::uint32_t name, std::uint32_t type);

[[nodiscard]] std::string propertyBytes(const X11Connection& connection, xcb_get_property_cookie_t cookie);

/// Up to the first NUL, as well-formed UTF-8; Latin-1 where the property says so.
[[nodiscard]] std::string propertyText(const X11Connection& connection, xcb_get_property_cookie_t cookie);

/// Of a property of 32 bits an item.
[[nodiscard]] std::vector<std::uint32_t> propertyNumbers(const X11Connection& connection,
                                                         xcb_get_property_cookie_t cookie);
/// 0 when there is none.
[[nodiscard]] std::uint32_t propertyNumber(const X11Connection& connection, xcb_get_property_cookie_t cookie);

/// Atoms of several names at the price of one.
[[nodiscard]] std::vector<std::uint32_t> atomsNamed(const X11Connection& connection,
                                                    const std::vector<std::string_view>& names);

} // namespace tavrin
