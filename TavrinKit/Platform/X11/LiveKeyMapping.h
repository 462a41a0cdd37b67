#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TavrinKit/Capture/LiveInputEventMonitoring.h"

namespace tavrin {

/// A key press as the keyboard's layout explains it.
struct LiveKeyPress {
    std::uint32_t keysym = 0; ///< under all modifiers that are held
    /// The text that the press enters; empty when it enters none, as the first half of a composed
    /// character does.
    std::optional<std::string> characters;
    std::optional<std::string> charactersIgnoringModifiers; ///< the text with no modifier but shift
    bool control = false;
    bool option = false;
    bool shift = false;
    bool command = false;
    bool function = false;
    bool isRepeat = false;
};

/// The modifiers of a press in the order control, option, shift, command, function.
[[nodiscard]] std::vector<KeyModifier> normalizedModifiers(const LiveKeyPress& press);

/// The name of a key that is known by what it does, as "Return"; nothing for any other.
/// @param forceSpecialForSpace  whether the space bar counts as one
[[nodiscard]] std::optional<std::string_view> specialKeyText(std::uint32_t keysym, bool forceSpecialForSpace);

/// What is recorded of a press; nothing for a press that shows nothing, such as that of a modifier alone.
///
/// With a modifier beside shift the press is a shortcut, told by the key's own text in capitals and all its
/// modifiers. Otherwise it is typing, told by the text that it enters: a shift is part of that text and not
/// mentioned. Texts are cut to 6 characters.
[[nodiscard]] std::optional<LiveInputEventKind> mapKey(const LiveKeyPress& press);

} // namespace tavrin
