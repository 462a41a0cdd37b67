#include "TavrinKit/Readiness/DisplayTopologyValidator.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr int smallestWidth = 320; // pixels
constexpr int smallestHeight = 240;
constexpr double smallestScale = 0.75;
constexpr double largestScale = 4.0;

/// With a decimal point always, as in "5.0".
std::string describe(double number) {
    const std::string text = fmt::format("{}", number);
    return text.find_first_not_of("-0123456789") == std::string::npos ? text + ".0" : text;
}

class TopologyCheck {
public:
    explicit TopologyCheck(std::vector<DisplayDescriptor> displays) {
        report_.displays = std::move(displays);
    }

    DisplayValidationReport run() && {
        if (report_.displays.empty()) {
            add(ValidationIssueSeverity::error, "No active displays detected.");
            return std::move(report_);
        }
        for (const DisplayDescriptor& display : report_.displays) {
            const std::string id = trimmed(display.id);
            checkIdentifier(id);
            checkResolution(display, id);
            checkScale(display, id);
        }
        checkPrimary();
        noteMixedScales();
        noteSeveral();
        return std::move(report_);
    }

private:
    void checkIdentifier(const std::string& id) {
        if (id.empty()) {
            add(ValidationIssueSeverity::error, "Display identifier cannot be empty.");
        }
        if (!identifiers_.insert(id).second) {
            add(ValidationIssueSeverity::error,
                fmt::format("Duplicate display identifier detected: {}.", id));
        }
    }

    void checkResolution(const DisplayDescriptor& display, const std::string& id) {
        if (display.pixelWidth < smallestWidth || display.pixelHeight < smallestHeight) {
            add(ValidationIssueSeverity::warning,
                fmt::format("Display {} has unusually small resolution ({}x{}).", id, display.pixelWidth,
                            display.pixelHeight));
        }
    }

    void checkScale(const DisplayDescriptor& display, const std::string& id) {
        const double scale = display.scaleFactor;
        if (!(scale >= smallestScale && scale <= largestScale)) {
            add(ValidationIssueSeverity::error,
                fmt::format("Display {} has invalid scale factor {}.", id, describe(scale)));
        }
    }

    void checkPrimary() {
        const auto count = std::ranges::count_if(report_.displays, &DisplayDescriptor::isPrimary);
        if (count == 0) {
            add(ValidationIssueSeverity::warning, "No primary display flagged in topology snapshot.");
        } else if (count > 1) {
            add(ValidationIssueSeverity::warning,
                fmt::format("Multiple displays are marked primary ({}).", count));
        }
    }

    void noteMixedScales() {
        const bool hasPlain = std::ranges::any_of(report_.displays, [](const DisplayDescriptor& display) {
            return display.scaleFactor < retinaScale;
        });
        if (report_.retinaCount() > 0 && hasPlain) {
            add(ValidationIssueSeverity::info, "Mixed retina/non-retina topology detected and validated.");
        }
    }

    void noteSeveral() {
        if (report_.displays.size() > 1) {
            add(ValidationIssueSeverity::info,
                fmt::format("Multi-display topology detected ({} displays).", report_.displays.size()));
        }
    }

    void add(ValidationIssueSeverity severity, std::string message) {
        report_.issues.push_back({severity, std::move(message)});
    }

    DisplayValidationReport report_;
    std::set<std::string> identifiers_;
};

} // namespace

std::vector<DisplayDescriptor> displayDescriptors(const ShareableContent& content) {
    std::vector<DisplayDescriptor> descriptors;
    for (const ShareableDisplay& display : content.displays) {
        DisplayDescriptor descriptor;
        descriptor.id = display.displayID != 0 ? std::to_string(display.displayID)
                                               : fmt::format("screen-{}", descriptors.size());
        descriptor.pixelWidth = std::max(display.pixels.width, 0);
        descriptor.pixelHeight = std::max(display.pixels.height, 0);
        descriptor.scaleFactor = display.frame.width > 0 ? display.pixels.width / display.frame.width : 1;
        descriptor.isPrimary = display.isMain;
        descriptors.push_back(std::move(descriptor));
    }
    return descriptors;
}

DisplayValidationReport DisplayTopologyValidator::validate(std::vector<DisplayDescriptor> displays) {
    return TopologyCheck(std::move(displays)).run();
}

} // namespace tavrin
