#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class TypingChipRole : std::uint8_t {
    typedText, ///< a run of plain typing
    keycap,    ///< a named key, or the key of a shortcut
    modifier,  ///< one modifier of a shortcut
};

/// One chip of the typing overlay.
struct TypingChipState {
    std::string text;
    TypingChipRole role = TypingChipRole::typedText;
    double emphasis = 0; ///< 1 at the press of the key, falling to 0 while the key pops back; 0...1

    friend bool operator==(const TypingChipState&, const TypingChipState&) = default;
};

/// What the typing overlay shows at one instant. The default is the hidden overlay.
struct TypingFrameState {
    bool visible = false;
    double opacity = 0;                 ///< 0...1
    std::vector<TypingChipState> chips; ///< from left to right
    bool isShortcut = false;            ///< whether any key of the burst was pressed with a modifier

    friend bool operator==(const TypingFrameState&, const TypingFrameState&) = default;
};

template <>
struct EnumNames<TypingChipRole> {
    using enum TypingChipRole;
    static constexpr auto names = namedCases<TypingChipRole>({
        {typedText, "typedText"},
        {keycap, "keycap"},
        {modifier, "modifier"},
    });
};

template <>
struct JsonRecord<TypingChipState> {
    static void fields(auto& keys, auto& value) {
        keys.required("text", value.text);
        keys.required("role", value.role);
        keys.required("emphasis", value.emphasis);
    }
};

template <>
struct JsonRecord<TypingFrameState> {
    static void fields(auto& keys, auto& value) {
        keys.required("visible", value.visible);
        keys.required("opacity", value.opacity);
        keys.required("chips", value.chips);
        keys.required("isShortcut", value.isShortcut);
    }
};

} // namespace tavrin
