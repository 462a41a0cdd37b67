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
    return int(std::count_if(displays.begin(), displays.end(),
                             [](const DisplayDescriptor& display) { return display.scaleFactor >= 1.5; }));
}

std::string DisplayValidationReport::summary() const {
    const int retina = retinaCount();
    const int nonRetina = int(displays.size()) - retina;
    return fmt::format("{} | displays={} | retina={} | nonRetina={} | mixedScale={} | issues={}",
                       passed() ? "PASS" : "FAIL", displays.size(), retina, nonRetina,
                       retina > 0 && nonRetina > 0 ? "yes" : "no",
                       issues.empty() ? "none" : std::to_string(issues.size()));
}

void encode(Json& json, const DisplayDescriptor& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("pixelWidth", value.pixelWidth)
        .put("pixelHeight", value.pixelHeight)
        .put("scaleFactor", value.scaleFactor)
        .put("isPrimary", value.isPrimary);
}

void decode(const Json& json, DisplayDescriptor& value) {
    const JsonObject object(json);
    object.required("id", value.id);
    object.required("pixelWidth", value.pixelWidth);
    object.required("pixelHeight", value.pixelHeight);
    object.required("scaleFactor", value.scaleFactor);
    object.required("isPrimary", value.isPrimary);
}

void encode(Json& json, const ValidationIssue& value) {
    JsonObjectWriter(json).put("severity", value.severity).put("message", value.message);
}

void decode(const Json& json, ValidationIssue& value) {
    const JsonObject object(json);
    object.required("severity", value.severity);
    object.required("message", value.message);
}

void encode(Json& json, const DisplayValidationReport& value) {
    JsonObjectWriter(json).put("displays", value.displays).put("issues", value.issues);
}

void decode(const Json& json, DisplayValidationReport& value) {
    const JsonObject object(json);
    object.required("displays", value.displays);
    object.required("issues", value.issues);
}

} // namespace tavrin
