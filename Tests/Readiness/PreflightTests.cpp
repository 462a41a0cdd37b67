#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Readiness/PreflightCheckRunner.h"

namespace tavrin {
namespace {

using Code = AppErrorCode;
using Status = PreflightCheckStatus;

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

struct Case {
    std::function<void(PreflightContext&)> spoil;
    PreflightCheckResult expected;
};

TEST(PreflightTests, eachFindingSaysWhatWasFoundAndWhatToDo) {
    const std::string settings = "x-apple.systempreferences:com.apple.preference.security?Privacy_";
    const PreflightCheckResult noSource{"capture_source",
                                        "Capture Source",
                                        Status::fail,
                                        "No capture source is selected.",
                                        "Refresh sources and select a display or window.",
                                        {},
                                        Code::captureNoSourceSelected,
                                        {}};
    const Case cases[] = {
        {[](auto& c) { c.availableSourceCount = 0; }, noSource},
        {[](auto& c) { c.selectedSourceID.reset(); }, noSource},
        {[](auto& c) { c.screenPermissionGranted = false; },
         {"screen_permission",
          "Screen Permission",
          Status::fail,
          "Screen recording permission is not granted.",
          "Grant screen recording permission in System Settings and retry.",
          settings + "ScreenCapture",
          Code::capturePermissionScreenDenied,
          {}}},
        {[](auto& c) { c.microphonePermissionGranted = c.microphoneCapabilities.available = false; },
         {"microphone_permission",
          "Microphone Permission",
          Status::fail,
          "Microphone permission is not granted.",
          "Grant microphone permission or disable microphone capture.",
          settings + "Microphone",
          Code::capturePermissionMicrophoneDenied,
          {}}},
        {[](auto& c) { c.microphoneCapabilities = {}; },
         {"microphone_availability",
          "Microphone Availability",
          Status::fail,
          "No microphone input device was detected.",
          "Connect or enable a microphone, or disable microphone capture.",
          {},
          Code::preflightMicrophoneUnavailable,
          {}}},
        {[](auto& c) {
             c.diskCapacity = {15, 20, 10, DiskCapacityStatus::warn};
         },
         {"disk_capacity",
          "Disk Capacity",
          Status::warn,
          "Disk space is low and long recordings may fail.",
          "Free disk space before long recordings.",
          {},
          Code::preflightDiskSpaceCritical,
          {{"availableBytes", "15"}}}},
        {[](auto& c) {
             c.diskCapacity = {{}, 20, 10, DiskCapacityStatus::fail};
         },
         {"disk_capacity",
          "Disk Capacity",
          Status::fail,
          "Disk space is below the safe recording threshold.",
          "Free disk space before starting recording.",
          {},
          Code::preflightDiskSpaceCritical,
          {{"availableBytes", "0"}}}},
        {[](auto& c) { c.diskCapacity = {}; },
         {"disk_capacity",
          "Disk Capacity",
          Status::warn,
          "Disk capacity could not be determined.",
          "Verify available disk space before recording.",
          {},
          {},
          {}}},
        {[](auto& c) {
             c.displayValidation.issues = {{ValidationIssueSeverity::warning, "Small."},
                                           {ValidationIssueSeverity::error, "Broken."},
                                           {ValidationIssueSeverity::error, "More."}};
         },
         {"display_topology",
          "Display Topology",
          Status::fail,
          "Broken.",
          "Reconnect displays and retry recording.",
          {},
          Code::preflightDisplayInvalid,
          {}}},
        {[](auto& c) {
             c.displayValidation.issues = {{ValidationIssueSeverity::warning, "Small."},
                                           {ValidationIssueSeverity::info, "Two."},
                                           {ValidationIssueSeverity::warning, "Small."}};
         },
         {"display_topology",
          "Display Topology",
          Status::warn,
          "Display topology is usable with 2 warning(s).",
          "Review display setup if quality issues occur.",
          {},
          {},
          {}}},
        {[](auto& c) { c.runtimeGuardReady = false; },
         {"runtime_guard",
          "Runtime Guard",
          Status::warn,
          "Runtime safety monitor is not fully initialized.",
          "Restart the app before long recordings.",
          {},
          {},
          {}}},
        {[](auto& c) { c.cameraCapabilities = {}; },
         {"camera_availability",
          "Camera Availability",
          Status::warn,
          "No camera device detected.",
          "Connect or enable a camera to use PiP capture.",
          {},
          {},
          {}}},
    };
    for (const Case& c : cases) {
        PreflightContext context = ready();
        c.spoil(context);
        const auto report = PreflightCheckRunner::run(context);
        const bool isFailure = c.expected.status == Status::fail;
        EXPECT_THAT(isFailure ? report.failures() : report.warnings(), testing::ElementsAre(c.expected));
        EXPECT_EQ(report.passed(), !isFailure) << c.expected.message;
        EXPECT_EQ(report.firstFailureCode(), isFailure ? c.expected.errorCode : std::nullopt);
        EXPECT_EQ(report.summary(),
                  isFailure ? "checks=8 | fail=1 | warn=0 | pass=7" : "checks=8 | fail=0 | warn=1 | pass=7");
        EXPECT_EQ(decodeDocument<PreflightReport>(encodeDocument(report)), report);
    }
}

TEST(PreflightTests, passesSayWhy) {
    const auto messages = [](const PreflightContext& context) {
        std::vector<std::string> lines;
        for (const auto& check : PreflightCheckRunner::run(context).checks) {
            lines.push_back(check.id + ": " + check.message);
            const auto count = check.metadata.find("deviceCount");
            lines.back() += count != check.metadata.end() ? " " + count->second : "";
        }
        return lines;
    };
    EXPECT_THAT(messages(ready()),
                testing::ElementsAre("capture_source: Capture source is available.",
                                     "screen_permission: Screen permission is granted.",
                                     "microphone_permission: Microphone permission is granted.",
                                     "microphone_availability: Microphone input device is available. 2",
                                     "disk_capacity: Sufficient disk capacity is available.",
                                     "display_topology: Display topology validation passed.",
                                     "runtime_guard: Runtime safety monitor is active.",
                                     "camera_availability: Camera device is available. 1"));

    PreflightContext without = ready();
    without.includeMicrophone = without.cameraRequired = without.microphonePermissionGranted = false;
    const auto lines = messages(without);
    EXPECT_EQ(lines[2], "microphone_permission: Microphone capture is disabled.");
    EXPECT_EQ(lines[3], "microphone_availability: Microphone capture is disabled.");
    EXPECT_EQ(lines[7], "camera_availability: Camera track is not required.");
    without.includeMicrophone = true;
    EXPECT_EQ(messages(without)[3], "microphone_availability: Microphone permission check will block capture "
                                    "before device validation.");
}

TEST(PreflightTests, theFirstFailureInTheOrderOfTheChecksNamesTheReport) {
    const auto report = PreflightCheckRunner::run({});
    EXPECT_EQ(report.summary(), "checks=8 | fail=2 | warn=2 | pass=4");
    EXPECT_EQ(report.firstFailureCode(), Code::captureNoSourceSelected);
}

} // namespace
} // namespace tavrin
