#pragma once

#include <string_view>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The shapes of picture that an export can have.
enum class ExportAspectPreset { horizontal16x9, vertical9x16, square1x1, horizontal4x3, vertical3x4 };

using AspectPreset = ExportAspectPreset;

/// Width over height.
[[nodiscard]] double aspectRatio(ExportAspectPreset aspect);

/// As in "16:9".
[[nodiscard]] std::string_view ratioLabel(ExportAspectPreset aspect);

/// What the user calls it, as in "Wide".
[[nodiscard]] std::string_view title(ExportAspectPreset aspect);

template <>
struct EnumNames<ExportAspectPreset> {
    using enum ExportAspectPreset;
    static constexpr auto names = namedCases<ExportAspectPreset>({
        {horizontal16x9, "horizontal16x9"},
        {vertical9x16, "vertical9x16"},
        {square1x1, "square1x1"},
        {horizontal4x3, "horizontal4x3"},
        {vertical3x4, "vertical3x4"},
    });
};

} // namespace tavrin
