#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tavrin {

// Text is UTF-8. A character is a grapheme cluster: what a reader would count as one.

[[nodiscard]] std::size_t characterCount(std::string_view text);

/// The first `count` characters.
[[nodiscard]] std::string firstCharacters(std::string_view text, std::size_t count);

/// The last `count` characters.
[[nodiscard]] std::string lastCharacters(std::string_view text, std::size_t count);

/// Whether a character ends where `right` follows on `left`, whatever stands before `left`. False also where
/// that can't be told without what stands before: between two halves of flags, for example.
[[nodiscard]] bool isCertainBreak(std::string_view left, std::string_view right);

/// Upper case by the root locale's rules.
[[nodiscard]] std::string upperCased(std::string_view text);

/// Lower case by the root locale's rules.
[[nodiscard]] std::string lowerCased(std::string_view text);

/// Sorting texts by their keys, as bytes, sorts them as the user's language has it, whatever the case: the
/// keys of "b" and "B" are equal. The language is that of the environment; without one it is the root
/// locale's order, which German and English share.
[[nodiscard]] std::string collationKey(std::string_view text);

/// Without newline characters (U+000A to U+000D, U+0085, U+2028, U+2029) at both ends.
[[nodiscard]] std::string trimmedNewlines(std::string_view text);

/// Without white space and newlines at both ends.
[[nodiscard]] std::string trimmed(std::string_view text);

/// Trimmed, and with one blank for every run of white space and newlines within.
[[nodiscard]] std::string withSingleBlanks(std::string_view text);

/// With U+FFFD in place of what is no UTF-8: for text from outside that may be cut in the middle of a
/// character.
[[nodiscard]] std::string wellFormed(std::string_view text);

} // namespace tavrin
