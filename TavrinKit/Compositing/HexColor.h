#pragma once

#include <optional>
#include <string_view>

#include "TavrinKit/Imaging/Image.h"

namespace tavrin {

/// Reads a colour as styles store it: RRGGBB or RRGGBBAA in hexadecimal digits of either case, with or
/// without one "#" before it and white space around it.
/// @return nothing for any other text
[[nodiscard]] std::optional<Color> parseHexColor(std::string_view text);

} // namespace tavrin
