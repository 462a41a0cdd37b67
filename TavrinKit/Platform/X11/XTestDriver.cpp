#include "TavrinKit/Platform/X11/XTestDriver.h"

#include <map>
#include <optional>

#include <xcb/xcb.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11Keyboard.h"

namespace tavrin {
namespace {

/// Which key makes a symbol, with which modifiers held.
struct KeyStroke {
    xkb_keycode_t key = 0;
    xkb_mod_mask_t modifiers = 0;
};

xkb_keysym_t keysymOfName(std::string_view name) {
    const xkb_keysym_t keysym = xkb_keysym_from_name(std::string(name).c_str(), XKB_KEYSYM_NO_FLAGS);
    if (keysym == XKB_KEY_NoSymbol) {
        throw X11Error::keySymbolMissing(std::string(name));
    }
    return keysym;
}

std::string nameOfKeysym(xkb_keysym_t keysym) {
    char name[64] = "";
    xkb_keysym_get_name(keysym, name, sizeof name);
    return name;
}

std::optional<KeyStroke> strokeFor(xkb_keymap* keymap, xkb_layout_index_t layout, xkb_keysym_t wanted) {
    for (xkb_level_index_t level = 0; level < 8; ++level) {
        for (xkb_keycode_t key = xkb_keymap_min_keycode(keymap); key <= xkb_keymap_max_keycode(keymap);
             ++key) {
            const xkb_layout_index_t layouts = xkb_keymap_num_layouts_for_key(keymap, key);
            if (layouts == 0) {
                continue;
            }
            const xkb_layout_index_t ownLayout = layout < layouts ? layout : 0;
            const xkb_keysym_t* symbols = nullptr;
            const int count = xkb_keymap_key_get_syms_by_level(keymap, key, ownLayout, level, &symbols);
            if (count != 1 || symbols[0] != wanted) {
                continue;
            }
            xkb_mod_mask_t masks[1] = {0};
            const std::size_t found =
                xkb_keymap_key_get_mods_for_level(keymap, key, ownLayout, level, masks, 1);
            return KeyStroke{key, found > 0 ? masks[0] : 0};
        }
    }
    return std::nullopt;
}

/// The keys that, held down, set the modifiers.
std::vector<std::string_view> keysForModifiers(xkb_keymap* keymap, xkb_mod_mask_t modifiers) {
    static constexpr std::pair<const char*, std::string_view> keys[] = {
        {XKB_MOD_NAME_SHIFT, "Shift_L"}, {XKB_MOD_NAME_CTRL, "Control_L"}, {XKB_MOD_NAME_ALT, "Alt_L"},
        {XKB_MOD_NAME_LOGO, "Super_L"},  {"Mod5", "ISO_Level3_Shift"},
    };
    std::vector<std::string_view> names;
    for (const auto& [modifier, name] : keys) {
        const xkb_mod_index_t index = xkb_keymap_mod_get_index(keymap, modifier);
        if (index != XKB_MOD_INVALID && (modifiers & (xkb_mod_mask_t(1) << index)) != 0) {
            names.push_back(name);
        }
    }
    return names;
}

std::vector<xkb_keysym_t> keysymsOf(std::string_view utf8) {
    std::vector<xkb_keysym_t> result;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
        std::uint32_t character = length == 1 ? lead : lead & (0x7fU >> length);
        for (std::size_t k = 1; k < length && i + k < utf8.size(); ++k) {
            character = character << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3fU);
        }
        i += length;
        result.push_back(character == '\n'   ? xkb_keysym_t(XKB_KEY_Return)
                         : character == '\t' ? xkb_keysym_t(XKB_KEY_Tab)
                                             : xkb_utf32_to_keysym(character));
    }
    return result;
}

} // namespace

struct XTestDriver::Implementation {
    explicit Implementation(const std::string& displayName) : connection(displayName), keyboard(connection) {
        connection.requireTest("driving the pointer and the keyboard");
    }

    void fake(std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0) const {
        xcb_connection_t* xcb = connection.xcb();
        const auto cookie = xcb_test_fake_input_checked(
            xcb, type, detail, XCB_CURRENT_TIME, connection.root(), std::int16_t(x), std::int16_t(y), 0);
        const X11Owned<xcb_generic_error_t> error(xcb_request_check(xcb, cookie));
        connection.throwIfBroken();
        if (error) {
            throw X11Error::requestFailed("playing an input event", error->error_code);
        }
    }

    KeyStroke stroke(xkb_keysym_t keysym) {
        keyboard.followChanges();
        const auto found = strokeFor(keyboard.keymap(), keyboard.layout(), keysym);
        if (!found) {
            throw X11Error::keySymbolMissing(nameOfKeysym(keysym));
        }
        return *found;
    }

    void press(xkb_keysym_t keysym) { fake(XCB_KEY_PRESS, std::uint8_t(stroke(keysym).key)); }
    void release(xkb_keysym_t keysym) { fake(XCB_KEY_RELEASE, std::uint8_t(stroke(keysym).key)); }

    void tap(xkb_keysym_t keysym, const std::vector<std::string>& modifiers) {
        const KeyStroke wanted = stroke(keysym);
        std::vector<xkb_keysym_t> held;
        for (const std::string& modifier : modifiers) {
            held.push_back(keysymOfName(modifier));
        }
        for (const std::string_view name : keysForModifiers(keyboard.keymap(), wanted.modifiers)) {
            held.push_back(keysymOfName(name));
        }
        for (const xkb_keysym_t modifier : held) {
            press(modifier);
        }
        fake(XCB_KEY_PRESS, std::uint8_t(wanted.key));
        fake(XCB_KEY_RELEASE, std::uint8_t(wanted.key));
        for (auto modifier = held.rbegin(); modifier != held.rend(); ++modifier) {
            release(*modifier);
        }
    }

    X11Connection connection;
    X11Keyboard keyboard;
};

XTestDriver::XTestDriver(const std::string& displayName)
    : implementation_(std::make_unique<Implementation>(displayName)) {}

XTestDriver::~XTestDriver() = default;

void XTestDriver::moveTo(int x, int y) {
    implementation_->fake(XCB_MOTION_NOTIFY, 0, x, y);
}

XTestDriver::Position XTestDriver::position() const {
    const X11Connection& connection = implementation_->connection;
    const X11Owned<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
        connection.xcb(), xcb_query_pointer(connection.xcb(), connection.root()), nullptr));
    connection.throwIfBroken();
    if (!reply) {
        throw X11Error::requestFailed("finding the pointer", 0);
    }
    return {reply->root_x, reply->root_y};
}

void XTestDriver::press(Button button) {
    implementation_->fake(XCB_BUTTON_PRESS, std::uint8_t(button));
}

void XTestDriver::release(Button button) {
    implementation_->fake(XCB_BUTTON_RELEASE, std::uint8_t(button));
}

void XTestDriver::click(Button button) {
    press(button);
    release(button);
}

void XTestDriver::pressKey(std::string_view keysymName) {
    implementation_->press(keysymOfName(keysymName));
}

void XTestDriver::releaseKey(std::string_view keysymName) {
    implementation_->release(keysymOfName(keysymName));
}

void XTestDriver::tapKey(std::string_view keysymName, const std::vector<std::string>& modifiers) {
    implementation_->tap(keysymOfName(keysymName), modifiers);
}

void XTestDriver::type(std::string_view utf8) {
    for (const xkb_keysym_t keysym : keysymsOf(utf8)) {
        implementation_->tap(keysym, {});
    }
}

} // namespace tavrin
