#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// Decodes a PNG of any kind to bgra8, premultiplied. Any thread.
///
/// @param maximumPixels  a picture that claims to have more is not decoded
/// @return nothing for data that is no PNG, or a truncated or damaged one
[[nodiscard]] std::optional<PixelBuffer> decodePNG(std::span<const std::uint8_t> data,
                                                   std::size_t maximumPixels = std::size_t(64) << 20);

/// Encodes a bgra8 picture. Any thread.
/// @throws std::invalid_argument for an empty picture or one of another format
[[nodiscard]] std::string encodePNG(const PixelBuffer& picture);

} // namespace tavrin
