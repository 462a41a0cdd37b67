#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Readiness/DisplayTopologyValidator.h"

namespace tavrin {
namespace {

using Lines = std::vector<std::string>;

Lines linesOf(const DisplayValidationReport& report) {
    Lines lines;
    for (const ValidationIssue& issue : report.issues) {
        lines.push_back(std::string(nameOf(issue.severity)) + ": " + issue.message);
    }
    lines.push_back(report.summary());
    return lines;
}

TEST(DisplayTopologyTests, findsWhatIsWrongInOrder) {
    const std::pair<std::vector<DisplayDescriptor>, Lines> cases[] = {
        {{},
         {"error: No active displays detected.",
          "FAIL | displays=0 | retina=0 | nonRetina=0 | mixedScale=no | issues=1"}},
        {{{"1", 320, 240, 1.5, true}},
         {"PASS | displays=1 | retina=1 | nonRetina=0 | mixedScale=no | issues=none"}},
        {{{" 1\n", 319, 1000, 0.75, false}, {"2", 1000, 239, 4.0, false}},
         {"warning: Display 1 has unusually small resolution (319x1000).",
          "warning: Display 2 has unusually small resolution (1000x239).",
          "warning: No primary display flagged in topology snapshot.",
          "info: Mixed retina/non-retina topology detected and validated.",
          "info: Multi-display topology detected (2 displays).",
          "PASS | displays=2 | retina=1 | nonRetina=1 | mixedScale=yes | issues=5"}},
        {{{"", 800, 600, 1, true},
          {"\t", 100, 100, 5, true},
          {"7", 800, 600, 0.7, false},
          {"7 ", 800, 600, std::nan(""), false}},
         {"error: Display identifier cannot be empty.", "error: Display identifier cannot be empty.",
          "error: Duplicate display identifier detected: .",
          "warning: Display  has unusually small resolution (100x100).",
          "error: Display  has invalid scale factor 5.0.", "error: Display 7 has invalid scale factor 0.7.",
          "error: Duplicate display identifier detected: 7.",
          "error: Display 7 has invalid scale factor nan.",
          "warning: Multiple displays are marked primary (2).",
          "info: Mixed retina/non-retina topology detected and validated.",
          "info: Multi-display topology detected (4 displays).",
          "FAIL | displays=4 | retina=1 | nonRetina=3 | mixedScale=yes | issues=11"}},
    };
    for (const auto& [displays, expected] : cases) {
        EXPECT_EQ(linesOf(DisplayTopologyValidator::validate(displays)), expected);
    }
}

TEST(DisplayTopologyTests, theScaleLiesBetweenPointsAndPixels) {
    ShareableContent content;
    content.displays = {{12, "HDMI-1", {0, 0, 1280, 720}, {2560, 1440}, true},
                        {0, "Unnumbered", {1280, 0, 800, 600}, {800, 600}, false},
                        {13, "Off", {}, {}, false}};
    EXPECT_EQ(displayDescriptors(content),
              (std::vector<DisplayDescriptor>{
                  {"12", 2560, 1440, 2, true}, {"screen-1", 800, 600, 1, false}, {"13", 0, 0, 1, false}}));
}

} // namespace
} // namespace tavrin
