#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TavrinKit/Project/CursorAppearance.h"
#include "TavrinKit/Project/CursorGlyphKind.h"
#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

// What a user did during a take. Timestamps are seconds on the take's clock. Locations are fractions of the
// recorded picture, origin at the bottom left, y upward, once the take has been stopped; before that, while
// the events are collected, they are global points.

enum class MouseEventKind : std::uint8_t { moved, clicked, dragged };

struct MouseEvent {
    double timestamp = 0;
    Vec2 location{};
    MouseEventKind kind = MouseEventKind::moved;
    std::optional<std::int64_t> button{}; ///< of a click: 0 left, 1 right, 2 any other

    friend bool operator==(const MouseEvent&, const MouseEvent&) = default;
};

/// In the one order in which modifiers are stored and shown.
enum class KeyModifier : std::uint8_t { command, shift, option, control, function };

/// The sign on the key: U+2318, U+21E7, U+2325, U+2303, or "fn".
[[nodiscard]] std::string_view symbol(KeyModifier modifier);

enum class KeyEventContentKind : std::uint8_t {
    printable, ///< the text is what was typed
    special,   ///< the text names the key
};

struct KeyEvent {
    double timestamp = 0;
    std::string displayText{};
    std::vector<KeyModifier> modifiers{};
    KeyEventContentKind contentKind = KeyEventContentKind::printable;
    bool isRepeat = false;

    static constexpr std::size_t maximumTextLength = 24; ///< characters of `displayText`

    /// The text without newlines at its ends (blanks stay) and cut to its first 24 characters, the modifiers
    /// in their order. A file's events are not cut: a timeline drops those that are too long.
    [[nodiscard]] KeyEvent normalized() const;

    /// Each modifier once, in the order of the enumeration.
    [[nodiscard]] static std::vector<KeyModifier>
    normalizedModifiers(const std::vector<KeyModifier>& modifiers);

    /// Plain typing, repeated or not: printable, with no modifier held.
    [[nodiscard]] bool isPrintableTyping() const {
        return contentKind == KeyEventContentKind::printable && modifiers.empty();
    }

    friend bool operator==(const KeyEvent&, const KeyEvent&) = default;
};

/// Where the pointer was and how it looked, from this moment on.
struct CursorStateEvent {
    double timestamp = 0;
    Vec2 location{};
    bool visible = true;
    CursorAppearance appearance{};

    friend bool operator==(const CursorStateEvent&, const CursorStateEvent&) = default;
};

template <>
struct EnumNames<MouseEventKind> {
    using enum MouseEventKind;
    static constexpr auto names = namedCases<MouseEventKind>({
        {moved, "moved"},
        {clicked, "clicked"},
        {dragged, "dragged"},
    });
};

template <>
struct EnumNames<KeyModifier> {
    using enum KeyModifier;
    static constexpr auto names = namedCases<KeyModifier>({
        {command, "command"},
        {shift, "shift"},
        {option, "option"},
        {control, "control"},
        {function, "function"},
    });
};

template <>
struct EnumNames<KeyEventContentKind> {
    using enum KeyEventContentKind;
    static constexpr auto names = namedCases<KeyEventContentKind>({
        {printable, "printable"},
        {special, "special"},
    });
};

} // namespace tavrin
