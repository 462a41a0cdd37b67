#include "TavrinKit/Project/Events.h"

#include <algorithm>

#include "TavrinKit/Support/Text.h"

namespace tavrin {

std::string_view symbol(KeyModifier modifier) {
    switch (modifier) {
    case KeyModifier::command:
        return "\u2318";
    case KeyModifier::shift:
        return "\u21e7";
    case KeyModifier::option:
        return "\u2325";
    case KeyModifier::control:
        return "\u2303";
    case KeyModifier::function:
        return "fn";
    }
    return {};
}

KeyEvent KeyEvent::normalized() const {
    KeyEvent result = *this;
    result.displayText = firstCharacters(trimmedNewlines(displayText), maximumTextLength);
    result.modifiers = normalizedModifiers(modifiers);
    return result;
}

std::vector<KeyModifier> KeyEvent::normalizedModifiers(const std::vector<KeyModifier>& modifiers) {
    std::vector<KeyModifier> result;
    for (const KeyModifier modifier : allCases<KeyModifier>) {
        if (std::ranges::find(modifiers, modifier) != modifiers.end()) {
            result.push_back(modifier);
        }
    }
    return result;
}

} // namespace tavrin
