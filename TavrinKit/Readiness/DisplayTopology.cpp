#include "TavrinKit/Readiness/DisplayTopology.h"

#include <algorithm>

#include <fmt/format.h>

namespace tavrin {

bool DisplayValidationReport::passed() const {
    return std::none_of(issues.begin(), issues.end(), [](const ValidationIssue& issue) {
        return issue.severity == ValidationIssueSeverity::error;
    });
}

int DisplayValidationReport::retinaCount() const {
    return int(std::count_if(displays.begin(), displays.end(), [](const DisplayDescriptor& display) {
        return display.scaleFactor >= retinaScale;
    }));
}

std::string DisplayValidationReport::summary() const {
    const int retina = retinaCount();
    const int nonRetina = int(displays.size()) - retina;
    return fmt::format("{} | displays={} | retina={} | nonRetina={} | mixedScale={} | issues={}",
                       passed() ? "PASS" : "FAIL", displays.size(), retina, nonRetina,
                       retina > 0 && nonRetina > 0 ? "yes" : "no",
                       issues.empty() ? "none" : std::to_string(issues.size()));
}

} // namespace tavrin
