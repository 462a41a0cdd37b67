#include "TavrinKit/Compositing/HexColor.h"

#include <array>
#include <string>

#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

std::optional<int> digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return {};
}

} // namespace

std::optional<Color> parseHexColor(std::string_view text) {
    const std::string stripped = trimmed(text);
    std::string_view digits = stripped;
    if (digits.starts_with('#')) {
        digits.remove_prefix(1);
    }
    if (digits.size() != 6 && digits.size() != 8) {
        return {};
    }
    std::array<double, 4> channels{0, 0, 0, 1};
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const auto high = digit(digits[i]);
        const auto low = digit(digits[i + 1]);
        if (!high || !low) {
            return {};
        }
        channels[i / 2] = (*high * 16 + *low) / 255.0;
    }
    return Color{channels[0], channels[1], channels[2], channels[3]};
}

} // namespace tavrin
