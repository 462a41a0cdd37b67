#pragma once

#include <string>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class ExportProgressStage { preparing, baking, transcoding, validating, retrying, completed };

/// What an export tells of itself while it runs.
struct ExportProgressUpdate {
    ExportProgressStage stage = ExportProgressStage::preparing;
    double fractionCompleted = 0; ///< 0...1
    std::string message;
};

template <>
struct EnumNames<ExportProgressStage> {
    using enum ExportProgressStage;
    static constexpr auto names = namedCases<ExportProgressStage>({
        {preparing, "preparing"},
        {baking, "baking"},
        {transcoding, "transcoding"},
        {validating, "validating"},
        {retrying, "retrying"},
        {completed, "completed"},
    });
};

} // namespace tavrin
