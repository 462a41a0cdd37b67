#pragma once

#include <string>
#include <vector>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// From how many pixels per point on a display counts as retina.
inline constexpr double retinaScale = 1.5;

/// A display that is attached.
struct DisplayDescriptor {
    std::string id;
    int pixelWidth = 0;
    int pixelHeight = 0;
    double scaleFactor = 1; ///< pixels per point
    bool isPrimary = false;

    friend bool operator==(const DisplayDescriptor&, const DisplayDescriptor&) = default;
};

enum class ValidationIssueSeverity { info, warning, error };

struct ValidationIssue {
    ValidationIssueSeverity severity = ValidationIssueSeverity::info;
    std::string message;

    friend bool operator==(const ValidationIssue&, const ValidationIssue&) = default;
};

/// What was found about the attached displays. Errors stand in the way of a recording, all else informs.
struct DisplayValidationReport {
    std::vector<DisplayDescriptor> displays; ///< as given
    std::vector<ValidationIssue> issues;     ///< in the order found

    /// No issue is an error.
    [[nodiscard]] bool passed() const;
    /// How many displays have a scale factor of at least `retinaScale`.
    [[nodiscard]] int retinaCount() const;
    /// As in "PASS | displays=1 | retina=1 | nonRetina=0 | mixedScale=no | issues=none".
    [[nodiscard]] std::string summary() const;

    friend bool operator==(const DisplayValidationReport&, const DisplayValidationReport&) = default;
};

template <>
struct EnumNames<ValidationIssueSeverity> {
    using enum ValidationIssueSeverity;
    static constexpr auto names = namedCases<ValidationIssueSeverity>({
        {info, "info"},
        {warning, "warning"},
        {error, "error"},
    });
};

template <>
struct JsonRecord<DisplayDescriptor> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("pixelWidth", value.pixelWidth);
        keys.required("pixelHeight", value.pixelHeight);
        keys.required("scaleFactor", value.scaleFactor);
        keys.required("isPrimary", value.isPrimary);
    }
};

template <>
struct JsonRecord<ValidationIssue> {
    static void fields(auto& keys, auto& value) {
        keys.required("severity", value.severity);
        keys.required("message", value.message);
    }
};

template <>
struct JsonRecord<DisplayValidationReport> {
    static void fields(auto& keys, auto& value) {
        keys.required("displays", value.displays);
        keys.required("issues", value.issues);
    }
};

} // namespace tavrin
