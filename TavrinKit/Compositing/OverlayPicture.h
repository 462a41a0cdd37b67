#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "TavrinKit/Imaging/Image.h"

namespace tavrin {

/// Reads the picture that a style names, for a place of a given size. Reads the file on every call: keep
/// what was drawn of it. Any thread.
///
/// @param path         absolute, or relative to the package; absent or blank gives nothing
/// @param packageRoot  where relative paths start
/// @param longerSide   pixels that the picture will take; one of more than twice that is shrunk while it is
/// read
/// @param service      the name under which the log tells of a picture that cannot be read
/// @return nothing when there is none
[[nodiscard]] std::optional<Image> watermarkImage(const std::optional<std::string>& path,
                                                  const std::optional<std::filesystem::path>& packageRoot,
                                                  double longerSide, std::string_view service);

} // namespace tavrin
