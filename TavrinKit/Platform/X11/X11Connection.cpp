#include "TavrinKit/Platform/X11/X11Connection.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include "TavrinKit/Platform/X11/X11Error.h"

namespace tavrin {
namespace {

std::string resolvedName(const std::string& displayName) {
    if (!displayName.empty()) {
        return displayName;
    }
    const char* fromEnvironment = std::getenv("DISPLAY");
    if (fromEnvironment == nullptr || *fromEnvironment == '\0') {
        throw X11Error::noDisplayName();
    }
    return fromEnvironment;
}

const xcb_screen_t* screenOfIndex(xcb_connection_t* connection, int index) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (index > 0 && screens.rem > 1) {
        xcb_screen_next(&screens);
        --index;
    }
    return screens.data;
}

template <typename Reply>
int majorOf(const Reply& reply) {
    if constexpr (requires { reply.server_major_version; }) {
        return int(reply.server_major_version);
    } else {
        return int(reply.major_version);
    }
}

template <typename Reply>
int minorOf(const Reply& reply) {
    if constexpr (requires { reply.server_minor_version; }) {
        return int(reply.server_minor_version);
    } else {
        return int(reply.minor_version);
    }
}

} // namespace

X11Connection::X11Connection(const std::string& displayName) : displayName_(resolvedName(displayName)) {
    connection_ = xcb_connect(displayName_.c_str(), &screenIndex_);
    if (xcb_connection_has_error(connection_) != 0) {
        xcb_disconnect(connection_);
        throw X11Error::connectionFailed(displayName_);
    }
    screen_ = screenOfIndex(connection_, screenIndex_);
}

X11Connection::~X11Connection() {
    xcb_disconnect(connection_);
}

std::uint32_t X11Connection::root() const {
    return screen_->root;
}

std::uint32_t X11Connection::rootVisual() const {
    return screen_->root_visual;
}

int X11Connection::rootDepth() const {
    return screen_->root_depth;
}

PixelSize X11Connection::rootSize() const {
    return {screen_->width_in_pixels, screen_->height_in_pixels};
}

int X11Connection::fileDescriptor() const {
    return xcb_get_file_descriptor(connection_);
}

bool X11Connection::isBroken() const {
    return xcb_connection_has_error(connection_) != 0;
}

void X11Connection::throwIfBroken() const {
    if (isBroken()) {
        throw X11Error::serverGone(displayName_);
    }
}

void X11Connection::hangUp() const noexcept {
    ::shutdown(xcb_get_file_descriptor(connection_), SHUT_RDWR);
}

void X11Connection::flush() const {
    xcb_flush(connection_);
}

void X11Connection::sync() const {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

std::uint32_t X11Connection::atom(std::string_view name) const {
    const auto cookie = xcb_intern_atom(connection_, 0, std::uint16_t(name.size()), name.data());
    const X11Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, cookie, nullptr));
    return reply ? reply->atom : std::uint32_t(XCB_ATOM_NONE);
}

std::string X11Connection::atomName(std::uint32_t atom) const {
    const auto cookie = xcb_get_atom_name(connection_, atom);
    const X11Owned<xcb_get_atom_name_reply_t> reply(xcb_get_atom_name_reply(connection_, cookie, nullptr));
    if (!reply) {
        return {};
    }
    return {xcb_get_atom_name_name(reply.get()), std::size_t(xcb_get_atom_name_name_length(reply.get()))};
}

X11Connection::Extension X11Connection::require(xcb_extension_t* extension, const char* name,
                                                const std::string& purpose) const {
    const xcb_query_extension_reply_t* reply = xcb_get_extension_data(connection_, extension);
    throwIfBroken();
    if (reply == nullptr || reply->present == 0) {
        throw X11Error::extensionMissing(displayName_, name, purpose);
    }
    return {reply->major_opcode, reply->first_event};
}

template <typename Reply>
void X11Connection::requireVersion(const Reply* reply, int major, int minor, const char* name,
                                   const std::string& purpose) const {
    throwIfBroken();
    if (reply == nullptr || majorOf(*reply) < major ||
        (majorOf(*reply) == major && minorOf(*reply) < minor)) {
        throw X11Error::extensionMissing(displayName_, fmt::format("{} {}.{}", name, major, minor), purpose);
    }
}

std::uint8_t X11Connection::requireSharedMemory(const std::string& purpose) const {
    const Extension extension = require(&xcb_shm_id, "MIT-SHM", purpose);
    const X11Owned<xcb_shm_query_version_reply_t> version(
        xcb_shm_query_version_reply(connection_, xcb_shm_query_version(connection_), nullptr));
    requireVersion(version.get(), 1, 2, "MIT-SHM", purpose);
    return extension.firstEvent;
}

std::uint8_t X11Connection::requireDamage(const std::string& purpose) const {
    const Extension extension = require(&xcb_damage_id, "DAMAGE", purpose);
    const X11Owned<xcb_damage_query_version_reply_t> version(
        xcb_damage_query_version_reply(connection_, xcb_damage_query_version(connection_, 1, 1), nullptr));
    requireVersion(version.get(), 1, 1, "DAMAGE", purpose);
    return extension.firstEvent;
}

std::uint8_t X11Connection::requireFixes(const std::string& purpose) const {
    const Extension extension = require(&xcb_xfixes_id, "XFIXES", purpose);
    const X11Owned<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(connection_, xcb_xfixes_query_version(connection_, 4, 0), nullptr));
    requireVersion(version.get(), 4, 0, "XFIXES", purpose);
    return extension.firstEvent;
}

std::uint8_t X11Connection::requireComposite(const std::string& purpose) const {
    const Extension extension = require(&xcb_composite_id, "Composite", purpose);
    const X11Owned<xcb_composite_query_version_reply_t> version(xcb_composite_query_version_reply(
        connection_, xcb_composite_query_version(connection_, 0, 2), nullptr));
    requireVersion(version.get(), 0, 2, "Composite", purpose);
    return extension.firstEvent;
}

std::uint8_t X11Connection::requireRandR(const std::string& purpose) const {
    const Extension extension = require(&xcb_randr_id, "RANDR", purpose);
    const X11Owned<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection_, xcb_randr_query_version(connection_, 1, 5), nullptr));
    requireVersion(version.get(), 1, 5, "RANDR", purpose);
    return extension.firstEvent;
}

std::uint8_t X11Connection::requireTest(const std::string& purpose) const {
    return require(&xcb_test_id, "XTEST", purpose).firstEvent;
}

std::uint8_t X11Connection::requireInput2(const std::string& purpose) const {
    const Extension extension = require(&xcb_input_id, "XInputExtension", purpose);
    // Raw events reach us while somebody else holds a grab only from 2.1 on.
    const X11Owned<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection_, xcb_input_xi_query_version(connection_, 2, 2), nullptr));
    requireVersion(version.get(), 2, 1, "XInputExtension", purpose);
    return extension.majorOpcode;
}

} // namespace tavrin
