#include "TavrinKit/Platform/X11/X11Properties.h"

#include <algorithm>
#include <cstring>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr std::uint32_t longestProperty = 1 << 16; // in words

X11Owned<xcb_get_property_reply_t> replyTo(const X11Connection& connection,
                                           xcb_get_property_cookie_t cookie) {
    xcb_generic_error_t* error = nullptr;
    X11Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.xcb(), cookie, &error));
    const X11Owned<xcb_generic_error_t> ownedError(error);
    return reply;
}

std::string bytesOf(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr || reply->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply)),
            std::size_t(xcb_get_property_value_length(reply))};
}

std::string fromLatin1(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            text += c;
        } else {
            text += char(0xc0 | code >> 6);
            text += char(0x80 | (code & 0x3f));
        }
    }
    return text;
}

} // namespace

xcb_get_property_cookie_t askProperty(const X11Connection& connection, std::uint32_t window,
                                      std::uint32_t name, std::uint32_t type) {
    return xcb_get_property(connection.xcb(), 0, window, name, type, 0, longestProperty);
}

std::string propertyBytes(const X11Connection& connection, xcb_get_property_cookie_t cookie) {
    return bytesOf(replyTo(connection, cookie).get());
}

std::string propertyText(const X11Connection& connection, xcb_get_property_cookie_t cookie) {
    const auto reply = replyTo(connection, cookie);
    std::string bytes = bytesOf(reply.get());
    bytes.resize(std::min(bytes.find('\0'), bytes.size()));
    return reply && reply->type == XCB_ATOM_STRING ? fromLatin1(bytes) : wellFormed(bytes);
}

std::vector<std::uint32_t> propertyNumbers(const X11Connection& connection,
                                           xcb_get_property_cookie_t cookie) {
    const auto reply = replyTo(connection, cookie);
    if (!reply || reply->format != 32) {
        return {};
    }
    std::vector<std::uint32_t> numbers(std::size_t(xcb_get_property_value_length(reply.get())) /
                                       sizeof(std::uint32_t));
    if (!numbers.empty()) {
        std::memcpy(numbers.data(), xcb_get_property_value(reply.get()),
                    numbers.size() * sizeof(std::uint32_t));
    }
    return numbers;
}

std::uint32_t propertyNumber(const X11Connection& connection, xcb_get_property_cookie_t cookie) {
    const auto numbers = propertyNumbers(connection, cookie);
    return numbers.empty() ? 0 : numbers.front();
}

std::vector<std::uint32_t> atomsNamed(const X11Connection& connection,
                                      const std::vector<std::string_view>& names) {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const std::string_view name : names) {
        cookies.push_back(xcb_intern_atom(connection.xcb(), 0, std::uint16_t(name.size()), name.data()));
    }
    std::vector<std::uint32_t> atoms;
    for (const auto cookie : cookies) {
        const X11Owned<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection.xcb(), cookie, nullptr));
        atoms.push_back(reply ? reply->atom : std::uint32_t(XCB_ATOM_NONE));
    }
    return atoms;
}

} // namespace tavrin
