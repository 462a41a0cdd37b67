#include "TavrinKit/Project/ExportAspectPreset.h"

namespace tavrin {
namespace {

struct Traits {
    double aspectRatio;
    std::string_view ratioLabel;
    std::string_view title;
};

constexpr std::array<Traits, 5> traits{{
    {16.0 / 9, "16:9", "Wide"},
    {9.0 / 16, "9:16", "Vertical"},
    {1, "1:1", "Square"},
    {4.0 / 3, "4:3", "Classic"},
    {3.0 / 4, "3:4", "Tall"},
}};

const Traits& traitsOf(ExportAspectPreset aspect) {
    return traits.at(std::size_t(aspect));
}

} // namespace

double aspectRatio(ExportAspectPreset aspect) {
    return traitsOf(aspect).aspectRatio;
}

std::string_view ratioLabel(ExportAspectPreset aspect) {
    return traitsOf(aspect).ratioLabel;
}

std::string_view title(ExportAspectPreset aspect) {
    return traitsOf(aspect).title;
}

} // namespace tavrin
