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

std::string describe(const PreflightCheckResult& check) {
    std::string text = check.id + " / " + check.title + ": " + check.message;
    for (const auto& part : {check.remediation, check.deepLink}) {
        text += part ? " -> " + *part : "";
    }
    text += check.errorCode ? " " + std::string(nameOf(*check.errorCode)) : "";
    for (const auto& [key, value] : check.metadata) {
        text += " " + key + "=" + value;
    }
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
            lines.push_back(std::string(nameOf(found[i].status)) + " " + describe(found[i]));
        }
    }
    return lines;
}

using Issues = std::vector<ValidationIssue>;
constexpr auto warning = ValidationIssueSeverity::warning;
constexpr auto error = ValidationIssueSeverity::error;

TEST(PreflightTests, eachFindingSaysWhatWasFoundAndWhatToDo) {
    const std::string settings = " -> x-apple.systempreferences:com.apple.preference.security?Privacy_";
    const std::string noSource = "fail capture_source / Capture Source: No capture source is selected. -> "
                                 "Refresh sources and select a display or window. CAP_NO_SOURCE_SELECTED";
    const std::string microphoneOff = " / Microphone Availability: Microphone capture is disabled.";
    const std::pair<Spoil, std::vector<std::string>> cases[] = {
        {[](auto& c) { c.availableSourceCount = 0; }, {noSource}},
        {[](auto& c) { c.selectedSourceID.reset(); }, {noSource}},
        {[](auto& c) { c.screenPermissionGranted = false; },
         {"fail screen_permission / Screen Permission: Screen recording permission is not granted. -> Grant "
          "screen recording permission in System Settings and retry." +
          settings + "ScreenCapture CAP_PERMISSION_SCREEN_DENIED"}},
        {[](auto& c) { c.microphonePermissionGranted = c.microphoneCapabilities.available = false; },
         {"fail microphone_permission / Microphone Permission: Microphone permission is not granted. -> "
          "Grant "
          "microphone permission or disable microphone capture." +
              settings + "Microphone CAP_PERMISSION_MICROPHONE_DENIED",
          "pass microphone_availability / Microphone Availability: Microphone permission check will block "
          "capture before device validation."}},
        {[](auto& c) { c.includeMicrophone = c.microphonePermissionGranted = false; },
         {"pass microphone_permission / Microphone Permission: Microphone capture is disabled.",
          "pass microphone_availability" + microphoneOff}},
        {[](auto& c) { c.microphoneCapabilities = {}; },
         {"fail microphone_availability / Microphone Availability: No microphone input device was detected. "
          "-> "
          "Connect or enable a microphone, or disable microphone capture. PRE_MICROPHONE_UNAVAILABLE"}},
        {[](auto& c) {
             c.diskCapacity = {15, 20, 10, DiskCapacityStatus::warn};
         },
         {"warn disk_capacity / Disk Capacity: Disk space is low and long recordings may fail. -> Free disk "
          "space before long recordings. PRE_DISK_SPACE_CRITICAL availableBytes=15"}},
        {[](auto& c) {
             c.diskCapacity = {{}, 20, 10, DiskCapacityStatus::fail};
         },
         {"fail disk_capacity / Disk Capacity: Disk space is below the safe recording threshold. -> Free "
          "disk "
          "space before starting recording. PRE_DISK_SPACE_CRITICAL availableBytes=0"}},
        {[](auto& c) { c.diskCapacity = {}; },
         {"warn disk_capacity / Disk Capacity: Disk capacity could not be determined. -> Verify available "
          "disk "
          "space before recording."}},
        {[](auto& c) {
             c.displayValidation.issues = Issues{{warning, "A."}, {error, "B."}, {error, "C."}};
         },
         {"fail display_topology / Display Topology: B. -> Reconnect displays and retry recording. "
          "PRE_DISPLAY_INVALID"}},
        {[](auto& c) {
             c.displayValidation.issues = Issues{{warning, "A."}, {{}, "B."}, {warning, "C."}};
         },
         {"warn display_topology / Display Topology: Display topology is usable with 2 warning(s). -> Review "
          "display setup if quality issues occur."}},
        {[](auto& c) { c.runtimeGuardReady = false; },
         {"warn runtime_guard / Runtime Guard: Runtime safety monitor is not fully initialized. -> Restart "
          "the "
          "app before long recordings."}},
        {[](auto& c) { c.cameraCapabilities = {}; },
         {"warn camera_availability / Camera Availability: No camera device detected. -> Connect or enable a "
          "camera to use PiP capture."}},
        {[](auto& c) { c.cameraRequired = false; },
         {"pass camera_availability / Camera Availability: Camera track is not required."}},
    };
    for (const auto& [spoil, expected] : cases) {
        EXPECT_EQ(changedBy(spoil), expected);
    }
}

TEST(PreflightTests, allChecksRunAndTheFirstFailureNamesTheReport) {
    const auto everythingWrong = PreflightCheckRunner::run({});
    EXPECT_EQ(everythingWrong.summary(), "checks=8 | fail=2 | warn=2 | pass=4");
    EXPECT_FALSE(everythingWrong.passed());
    EXPECT_EQ(everythingWrong.firstFailureCode(), AppErrorCode::captureNoSourceSelected);
    EXPECT_EQ(everythingWrong.failures().back().id, "screen_permission");
    EXPECT_EQ(everythingWrong.warnings().front().id, "disk_capacity");
    EXPECT_EQ(decodeDocument<PreflightReport>(encodeDocument(everythingWrong)), everythingWrong);

    PreflightContext lowOnDisk = ready();
    lowOnDisk.diskCapacity.status = DiskCapacityStatus::warn;
    const auto report = PreflightCheckRunner::run(lowOnDisk);
    EXPECT_TRUE(report.passed());
    EXPECT_EQ(report.firstFailureCode(), std::nullopt);
    EXPECT_EQ(describe(report.checks[3]),
              "microphone_availability / Microphone Availability: Microphone input device is available. "
              "deviceCount=2");
}

} // namespace
} // namespace tavrin
