#include "TavrinKit/Platform/X11/X11Keyboard.h"

#include <cstdlib>
#include <string>

#include <xcb/xcb.h>
#define explicit explicit_ // A field of a request is called that.
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-compose.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"

namespace tavrin {
namespace {

constexpr const char* purpose = "reading the keyboard";

template <auto unreference>
struct Unreference {
    template <typename T>
    void operator()(T* object) const {
        unreference(object);
    }
};
using Context = std::unique_ptr<xkb_context, Unreference<xkb_context_unref>>;
using Keymap = std::unique_ptr<xkb_keymap, Unreference<xkb_keymap_unref>>;
using State = std::unique_ptr<xkb_state, Unreference<xkb_state_unref>>;
using ComposeTable = std::unique_ptr<xkb_compose_table, Unreference<xkb_compose_table_unref>>;
using ComposeState = std::unique_ptr<xkb_compose_state, Unreference<xkb_compose_state_unref>>;

const char* localeOfTyping() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "C";
}

/// Nothing when the machine has no tables of composition: dead keys then enter nothing.
ComposeState makeCompose(xkb_context* context) {
    for (const char* locale : {localeOfTyping(), "en_US.UTF-8"}) {
        const ComposeTable table(
            xkb_compose_table_new_from_locale(context, locale, XKB_COMPOSE_COMPILE_NO_FLAGS));
        if (table) {
            return ComposeState(xkb_compose_state_new(table.get(), XKB_COMPOSE_STATE_NO_FLAGS));
        }
    }
    return nullptr;
}

std::string textOf(xkb_state* state, xkb_keycode_t key) {
    char text[64] = "";
    xkb_state_key_get_utf8(state, key, text, sizeof text);
    return text;
}

bool isHeld(xkb_state* state, const char* modifier) {
    return xkb_state_mod_name_is_active(state, modifier, XKB_STATE_MODS_EFFECTIVE) > 0;
}

} // namespace

struct X11Keyboard::Implementation {
    explicit Implementation(const X11Connection& theConnection) : connection(theConnection) {
        if (xkb_x11_setup_xkb_extension(connection.xcb(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                        XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                        nullptr, nullptr, &firstEvent, nullptr) == 0) {
            connection.throwIfBroken();
            throw X11Error::extensionMissing(connection.displayName(), "XKEYBOARD", purpose);
        }
        context.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
        compose = makeCompose(context.get());
        // Before the keymap is read, so that no change falls between the two.
        selectEvents();
        readKeymap();
        readControls();
    }

    void selectEvents() const {
        constexpr std::uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY |
                                         XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_STATE_NOTIFY |
                                         XCB_XKB_EVENT_TYPE_CONTROLS_NOTIFY;
        constexpr std::uint16_t parts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                        XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_KEY_ACTIONS |
                                        XCB_XKB_MAP_PART_VIRTUAL_MODS | XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP |
                                        XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS;
        xcb_xkb_select_events(connection.xcb(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                              nullptr);
    }

    void readKeymap() {
        const std::int32_t device = xkb_x11_get_core_keyboard_device_id(connection.xcb());
        Keymap newKeymap(xkb_x11_keymap_new_from_device(context.get(), connection.xcb(), device,
                                                        XKB_KEYMAP_COMPILE_NO_FLAGS));
        State newState;
        if (newKeymap) {
            newState.reset(state ? stateCarriedOver(newKeymap.get())
                                 : xkb_x11_state_new_from_device(newKeymap.get(), connection.xcb(), device));
        }
        if (!newState) {
            connection.throwIfBroken();
            if (!state) {
                throw X11Error::requestFailed(purpose, 0);
            }
            return; // The device went away in between; the event of the next one is under way.
        }
        keymap = std::move(newKeymap);
        state = std::move(newState);
        shiftOnly.reset(xkb_state_new(keymap.get()));
        shift = xkb_keymap_mod_get_index(keymap.get(), XKB_MOD_NAME_SHIFT);
    }

    /// What is held and locked now, in another keymap. The server would tell what is held when it answers,
    /// behind the presses that still wait to be read; the first eight modifiers are its own in every keymap.
    [[nodiscard]] xkb_state* stateCarriedOver(xkb_keymap* newKeymap) const {
        const auto modifiers = [&](xkb_state_component component) {
            return xkb_state_serialize_mods(state.get(), component) & 0xffU;
        };
        const auto group = [&](xkb_state_component component) {
            return xkb_state_serialize_layout(state.get(), component);
        };
        xkb_state* result = xkb_state_new(newKeymap);
        if (result != nullptr) {
            xkb_state_update_mask(result, modifiers(XKB_STATE_MODS_DEPRESSED),
                                  modifiers(XKB_STATE_MODS_LATCHED), modifiers(XKB_STATE_MODS_LOCKED),
                                  group(XKB_STATE_LAYOUT_DEPRESSED), group(XKB_STATE_LAYOUT_LATCHED),
                                  group(XKB_STATE_LAYOUT_LOCKED));
        }
        return result;
    }

    void readControls() {
        xcb_connection_t* xcb = connection.xcb();
        const X11Owned<xcb_xkb_get_controls_reply_t> reply(
            xcb_xkb_get_controls_reply(xcb, xcb_xkb_get_controls(xcb, XCB_XKB_ID_USE_CORE_KBD), nullptr));
        repetition.reset();
        if (reply && (reply->enabledControls & XCB_XKB_BOOL_CTRL_REPEAT_KEYS) != 0 &&
            reply->repeatInterval > 0) {
            repetition = {std::chrono::milliseconds(reply->repeatDelay),
                          std::chrono::milliseconds(reply->repeatInterval)};
        }
    }

    [[nodiscard]] xkb_layout_index_t layout() const {
        return xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE);
    }

    [[nodiscard]] std::string textWithShiftOnly(xkb_keycode_t key) const {
        const bool shifted = isHeld(state.get(), XKB_MOD_NAME_SHIFT);
        const xkb_mod_mask_t mask = shifted && shift != XKB_MOD_INVALID ? xkb_mod_mask_t(1) << shift : 0;
        xkb_state_update_mask(shiftOnly.get(), mask, 0, 0, 0, 0, layout());
        return textOf(shiftOnly.get(), key);
    }

    /// The text that a press enters, with what dead keys before it add.
    std::string composedText(xkb_keycode_t key, xkb_keysym_t keysym) {
        if (!compose || xkb_compose_state_feed(compose.get(), keysym) == XKB_COMPOSE_FEED_IGNORED) {
            return textOf(state.get(), key);
        }
        switch (xkb_compose_state_get_status(compose.get())) {
        case XKB_COMPOSE_COMPOSING:
            return {};
        case XKB_COMPOSE_CANCELLED:
            xkb_compose_state_reset(compose.get());
            return {};
        case XKB_COMPOSE_COMPOSED: {
            char text[64] = "";
            xkb_compose_state_get_utf8(compose.get(), text, sizeof text);
            xkb_compose_state_reset(compose.get());
            return text;
        }
        case XKB_COMPOSE_NOTHING:
            break;
        }
        return textOf(state.get(), key);
    }

    const X11Connection& connection;
    std::uint8_t firstEvent = 0;
    std::optional<Repetition> repetition; ///< what the server does for all keys that repeat
    Context context;
    Keymap keymap;
    State state;
    State shiftOnly;
    ComposeState compose;
    xkb_mod_index_t shift = XKB_MOD_INVALID;
};

X11Keyboard::X11Keyboard(const X11Connection& connection)
    : implementation_(std::make_unique<Implementation>(connection)) {}

X11Keyboard::~X11Keyboard() = default;

bool X11Keyboard::handle(const void* pointer) {
    const auto& event = *static_cast<const xcb_generic_event_t*>(pointer);
    if ((event.response_type & 0x7f) != implementation_->firstEvent) {
        return false;
    }
    switch (event.pad0) { // where all events of this extension have their kind
    case XCB_XKB_STATE_NOTIFY: {
        const auto& change = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
        xkb_state_update_mask(implementation_->state.get(), change.baseMods, change.latchedMods,
                              change.lockedMods, xkb_layout_index_t(change.baseGroup),
                              xkb_layout_index_t(change.latchedGroup), change.lockedGroup);
        break;
    }
    case XCB_XKB_NEW_KEYBOARD_NOTIFY:
    case XCB_XKB_MAP_NOTIFY:
        implementation_->readKeymap();
        break;
    case XCB_XKB_CONTROLS_NOTIFY:
        implementation_->readControls();
        break;
    default:
        break;
    }
    return true;
}

void X11Keyboard::followChanges() {
    xcb_connection_t* xcb = implementation_->connection.xcb();
    // The reply comes behind all events that happened before the question.
    const X11Owned<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
    while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(xcb)}) {
        handle(event.get());
    }
    implementation_->connection.throwIfBroken();
}

LiveKeyPress X11Keyboard::interpret(std::uint32_t keycode, bool isRepeat) {
    xkb_state* state = implementation_->state.get();
    LiveKeyPress press;
    press.keysym = xkb_state_key_get_one_sym(state, keycode);
    press.control = isHeld(state, XKB_MOD_NAME_CTRL);
    press.option = isHeld(state, XKB_MOD_NAME_ALT);
    press.shift = isHeld(state, XKB_MOD_NAME_SHIFT);
    press.command = isHeld(state, XKB_MOD_NAME_LOGO);
    press.isRepeat = isRepeat;
    press.charactersIgnoringModifiers = implementation_->textWithShiftOnly(keycode);
    press.characters = press.control || press.option || press.command
                           ? textOf(state, keycode)
                           : implementation_->composedText(keycode, press.keysym);
    return press;
}

std::optional<X11Keyboard::Repetition> X11Keyboard::repetition(std::uint32_t keycode) const {
    if (!implementation_->repetition || xkb_keymap_key_repeats(implementation_->keymap.get(), keycode) == 0) {
        return std::nullopt;
    }
    return implementation_->repetition;
}

xkb_keymap* X11Keyboard::keymap() const {
    return implementation_->keymap.get();
}

std::uint32_t X11Keyboard::layout() const {
    return implementation_->layout();
}

} // namespace tavrin
