#pragma once

#include <cstdint>
#include <cstring>

namespace tavrin {

/// The end of the run of characters that stand in a JSON string as they are: ASCII without control
/// characters, quotes and backslashes. Looks at eight bytes at a time.
inline const char* endOfPlainText(const char* text, const char* end) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    constexpr std::uint64_t highBits = 0x80 * ones;
    const auto hasZero = [](std::uint64_t word) {
        return (word - ones) & ~word & highBits;
    };
    while (end - text >= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, text, sizeof word);
        const std::uint64_t control = (word - 0x20 * ones) & ~word & highBits;
        if (((word & highBits) | control | hasZero(word ^ ('"' * ones)) | hasZero(word ^ ('\\' * ones))) !=
            0) {
            break;
        }
        text += 8;
    }
    while (text != end && std::uint8_t(*text) >= 0x20 && std::uint8_t(*text) < 0x80 && *text != '"' &&
           *text != '\\') {
        ++text;
    }
    return text;
}

} // namespace tavrin
