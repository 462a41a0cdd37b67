#include "TavrinKit/Platform/X11/LiveKeyMapping.h"

#include <algorithm>
#include <array>

#include <xkbcommon/xkbcommon-keysyms.h>

#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr std::size_t longestText = 6;

struct SpecialKey {
    std::uint32_t keysym;
    std::string_view text;
};

constexpr std::array specialKeys = {
    SpecialKey{XKB_KEY_Return, "Return"},
    SpecialKey{XKB_KEY_KP_Enter, "Return"},
    SpecialKey{XKB_KEY_Tab, "Tab"},
    SpecialKey{XKB_KEY_ISO_Left_Tab, "Tab"},
    SpecialKey{XKB_KEY_KP_Tab, "Tab"},
    SpecialKey{XKB_KEY_BackSpace, "Delete"},
    SpecialKey{XKB_KEY_Escape, "Esc"},
    SpecialKey{XKB_KEY_Home, "Home"},
    SpecialKey{XKB_KEY_KP_Home, "Home"},
    SpecialKey{XKB_KEY_Prior, "Page Up"},
    SpecialKey{XKB_KEY_KP_Prior, "Page Up"},
    SpecialKey{XKB_KEY_Delete, "Forward Delete"},
    SpecialKey{XKB_KEY_KP_Delete, "Forward Delete"},
    SpecialKey{XKB_KEY_End, "End"},
    SpecialKey{XKB_KEY_KP_End, "End"},
    SpecialKey{XKB_KEY_Next, "Page Down"},
    SpecialKey{XKB_KEY_KP_Next, "Page Down"},
    SpecialKey{XKB_KEY_Left, "Left"},
    SpecialKey{XKB_KEY_KP_Left, "Left"},
    SpecialKey{XKB_KEY_Right, "Right"},
    SpecialKey{XKB_KEY_KP_Right, "Right"},
    SpecialKey{XKB_KEY_Down, "Down"},
    SpecialKey{XKB_KEY_KP_Down, "Down"},
    SpecialKey{XKB_KEY_Up, "Up"},
    SpecialKey{XKB_KEY_KP_Up, "Up"},
};

std::string withoutDeleteCharacter(std::string text) {
    std::erase(text, '\x7f');
    return text;
}

} // namespace

std::vector<KeyModifier> normalizedModifiers(const LiveKeyPress& press) {
    std::vector<KeyModifier> modifiers;
    const auto append = [&](bool isHeld, KeyModifier modifier) {
        if (isHeld) {
            modifiers.push_back(modifier);
        }
    };
    append(press.control, KeyModifier::control);
    append(press.option, KeyModifier::option);
    append(press.shift, KeyModifier::shift);
    append(press.command, KeyModifier::command);
    append(press.function, KeyModifier::function);
    return modifiers;
}

std::optional<std::string_view> specialKeyText(std::uint32_t keysym, bool forceSpecialForSpace) {
    if (keysym == XKB_KEY_space || keysym == XKB_KEY_KP_Space) {
        return forceSpecialForSpace ? std::optional<std::string_view>("Space") : std::nullopt;
    }
    const auto* found = std::find_if(specialKeys.begin(), specialKeys.end(),
                                     [keysym](const SpecialKey& key) { return key.keysym == keysym; });
    return found == specialKeys.end() ? std::nullopt : std::optional(found->text);
}

std::optional<LiveInputEventKind> mapKey(const LiveKeyPress& press) {
    std::vector<KeyModifier> modifiers = normalizedModifiers(press);
    const bool isShortcut = press.control || press.option || press.command || press.function;
    if (!isShortcut) {
        std::erase(modifiers, KeyModifier::shift);
    }
    if (const auto special = specialKeyText(press.keysym, isShortcut)) {
        return LiveInputEventKind{LiveInputEventKind::KeyPressed{
            std::string(*special), modifiers, KeyEventContentKind::special, press.isRepeat}};
    }

    const auto& preferred = isShortcut ? press.charactersIgnoringModifiers : press.characters;
    const auto& otherwise = isShortcut ? press.characters : press.charactersIgnoringModifiers;
    std::string text =
        firstCharacters(withoutDeleteCharacter(preferred ? *preferred : otherwise.value_or("")), longestText);
    if (isShortcut) {
        text = upperCased(text);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    return LiveInputEventKind{
        LiveInputEventKind::KeyPressed{text, modifiers, KeyEventContentKind::printable, press.isRepeat}};
}

} // namespace tavrin
