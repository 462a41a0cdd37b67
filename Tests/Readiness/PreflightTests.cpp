#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Readiness/PreflightCheckRunner.h"

namespace tavrin {
namespace {

/// Nothing is wrong, and everything is asked for.
PreflightContext ready() {
    PreflightContext context;
    context.availableSourceCount = 1;
    context.selectedSourceID = "display-1";
    context.includeMicrophone = context.screenPermissionGranted = context.microphonePermissionGranted = true;
    context.microphoneCapabilities = {true, 2, {"A", "B"}};
    context.diskCapacity = {100, 20, 10, DiskCapacityStatus::pass};
    context.runtimeGuardReady = context.cameraRequired = true;
    context.cameraCapabilities = {true, 1, {"C"}};
    return context;
}

/// With the message where it has something of the context in it.
std::string describe(const PreflightCheckResult& check) {
    std::string text = std::string(nameOf(check.status)) + " " + check.id + ":";
    text += check.id == "display_topology" ? " " + check.message : "";
    text += check.errorCode ? " " + std::string(nameOf(*check.errorCode)) : "";
    text += check.deepLink ? " link" : "";
    return text;
}

using Spoil = std::function<void(PreflightContext&)>;

/// All that is not as in the ready context, one line a check.
std::vector<std::string> changedBy(const Spoil& spoil) {
    PreflightContext context = ready();
    spoil(context);
    const auto usual = PreflightCheckRunner::run(ready()).checks;
    const auto found = PreflightCheckRunner::run(context).checks;
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (found[i] != usual.at(i)) {
            lines.push_back(describe(found[i]));
        }
    }
    return lines;
}

Spoil disk(std::optional<std::int64_t> available, DiskCapacityStatus status) {
    return [=](PreflightContext& context) {
        context.diskCapacity = {available, 20, 10, status};
    };
}

Spoil displays(const std::vector<ValidationIssue>& issues) {
    return [=](PreflightContext& context) {
        context.displayValidation.issues = issues;
    };
}

TEST(PreflightTests, eachFindingSaysWhatWasFoundAndWhatToDo) {
    using enum ValidationIssueSeverity;
    const std::string noSource = "fail capture_source: CAP_NO_SOURCE_SELECTED";
    const std::pair<Spoil, std::vector<std::string>> cases[] = {
        {[](auto& c) { c.availableSourceCount = 0; }, {noSource}},
        {[](auto& c) { c.selectedSourceID.reset(); }, {noSource}},
        {[](auto& c) { c.screenPermissionGranted = false; },
         {"fail screen_permission: CAP_PERMISSION_SCREEN_DENIED link"}},
        {[](auto& c) { c.microphonePermissionGranted = c.microphoneCapabilities.available = false; },
         {"fail microphone_permission: CAP_PERMISSION_MICROPHONE_DENIED link",
          "pass microphone_availability:"}},
        {[](auto& c) { c.includeMicrophone = c.microphonePermissionGranted = false; },
         {"pass microphone_permission:", "pass microphone_availability:"}},
        {[](auto& c) { c.microphoneCapabilities = {}; },
         {"fail microphone_availability: PRE_MICROPHONE_UNAVAILABLE"}},
        {disk(15, DiskCapacityStatus::warn), {"warn disk_capacity: PRE_DISK_SPACE_CRITICAL"}},
        {disk({}, DiskCapacityStatus::fail), {"fail disk_capacity: PRE_DISK_SPACE_CRITICAL"}},
        {disk({}, DiskCapacityStatus::unknown), {"warn disk_capacity:"}},
        {displays({{warning, "A."}, {error, "B."}, {error, "C."}}),
         {"fail display_topology: B. PRE_DISPLAY_INVALID"}},
        {displays({{warning, "A."}, {{}, "B."}, {warning, "C."}}),
         {"warn display_topology: Display topology is usable with 2 warning(s)."}},
        {[](auto& c) { c.runtimeGuardReady = false; }, {"warn runtime_guard:"}},
        {[](auto& c) { c.cameraCapabilities = {}; }, {"warn camera_availability:"}},
    };
    for (const auto& [spoil, expected] : cases) {
        EXPECT_EQ(changedBy(spoil), expected);
    }
}

TEST(PreflightTests, allChecksRunAndTheFirstFailureNamesTheReport) {
    const auto everythingWrong = PreflightCheckRunner::run({});
    EXPECT_EQ(everythingWrong.summary(), "checks=8 | fail=2 | warn=2 | pass=4");
    EXPECT_EQ(everythingWrong.firstFailureCode(), AppErrorCode::captureNoSourceSelected);
    EXPECT_EQ(decodeDocument<PreflightReport>(encodeDocument(everythingWrong)), everythingWrong);

    PreflightContext lowOnDisk = ready();
    lowOnDisk.diskCapacity.status = DiskCapacityStatus::warn;
    const auto report = PreflightCheckRunner::run(lowOnDisk);
    EXPECT_TRUE(report.passed());
    EXPECT_EQ(report.firstFailureCode(), std::nullopt);
}

} // namespace
} // namespace tavrin
