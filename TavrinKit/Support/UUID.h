#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavrin {

/// A UUID. Ordered as its text is.
struct UUID {
    std::array<std::uint8_t, 16> bytes{};

    /// A new random one.
    [[nodiscard]] static UUID make();

    /// Reads the form with four hyphens, in either case; nothing else.
    [[nodiscard]] static std::optional<UUID> parse(std::string_view text);

    /// 36 characters, lower case.
    [[nodiscard]] std::string string() const;

    friend auto operator<=>(const UUID&, const UUID&) = default;
};

} // namespace tavrin
