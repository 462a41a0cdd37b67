#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace tavrin {

/// True for 64 bytes of ASCII without control characters, quotes and backslashes. Without branches, so that
/// the compiler looks at as many at a time as the machine can.
inline bool isPlainBlock(const char* text) {
    std::uint8_t odd = 0;
    for (int i = 0; i < 64; ++i) {
        const auto c = std::uint8_t(text[i]);
        odd |=
            std::uint8_t(std::uint8_t(c - 0x20) >= 0x60) | std::uint8_t(c == '"') | std::uint8_t(c == '\\');
    }
    return odd == 0;
}

/// The end of the run of characters that stand in a JSON string as they are: ASCII without control
/// characters, quotes and backslashes. Long runs go by blocks, the rest by eight bytes at a time.
inline const char* endOfPlainText(const char* text, const char* end) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    constexpr std::uint64_t highBits = 0x80 * ones;
    const auto hasZero = [](std::uint64_t word) {
        return (word - ones) & ~word & highBits;
    };
    for (; end - text >= 8; text += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, text, sizeof word);
        const std::uint64_t control = (word - 0x20 * ones) & ~word & highBits;
        const std::uint64_t odd =
            (word & highBits) | control | hasZero(word ^ ('"' * ones)) | hasZero(word ^ ('\\' * ones));
        if (odd != 0) {
            static_assert(std::endian::native == std::endian::little);
            return text + std::countr_zero(odd) / 8;
        }
        while (end - text >= 8 + 64 && isPlainBlock(text + 8)) {
            text += 64;
        }
    }
    while (text != end && std::uint8_t(*text) >= 0x20 && std::uint8_t(*text) < 0x80 && *text != '"' &&
           *text != '\\') {
        ++text;
    }
    return text;
}

} // namespace tavrin
