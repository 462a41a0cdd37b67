#include "TavrinKit/Readiness/PreflightCheckRunner.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Readiness/DiagnosticEntry.h"

namespace tavrin {
namespace {

constexpr const char* screenSettings =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";
constexpr const char* microphoneSettings =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";
constexpr const char* deviceCountKey = "deviceCount";

/// One of the checks, which has yet to find something.
class Check {
public:
    Check(const char* id, const char* title) : id_(id), title_(title) {}

    [[nodiscard]] PreflightCheckResult pass(std::string message, Metadata metadata = {}) const {
        return {id_, title_, PreflightCheckStatus::pass, std::move(message), {}, {}, {}, std::move(metadata)};
    }
    [[nodiscard]] PreflightCheckResult warn(std::string message, std::string remediation,
                                            std::optional<AppErrorCode> errorCode = {},
                                            Metadata metadata = {}) const {
        return {id_, title_,    PreflightCheckStatus::warn, std::move(message), std::move(remediation),
                {},  errorCode, std::move(metadata)};
    }
    [[nodiscard]] PreflightCheckResult fail(std::string message, std::string remediation,
                                            AppErrorCode errorCode, std::optional<std::string> deepLink = {},
                                            Metadata metadata = {}) const {
        return {id_,
                title_,
                PreflightCheckStatus::fail,
                std::move(message),
                std::move(remediation),
                std::move(deepLink),
                errorCode,
                std::move(metadata)};
    }

private:
    const char* id_;
    const char* title_;
};

PreflightCheckResult captureSource(const PreflightContext& context) {
    const Check check("capture_source", "Capture Source");
    if (context.availableSourceCount < 1 || !context.selectedSourceID) {
        return check.fail("No capture source is selected.", "Refresh sources and select a display or window.",
                          AppErrorCode::captureNoSourceSelected);
    }
    return check.pass("Capture source is available.");
}

PreflightCheckResult screenPermission(const PreflightContext& context) {
    const Check check("screen_permission", "Screen Permission");
    if (!context.screenPermissionGranted) {
        return check.fail("Screen recording permission is not granted.",
                          "Grant screen recording permission in System Settings and retry.",
                          AppErrorCode::capturePermissionScreenDenied, screenSettings);
    }
    return check.pass("Screen permission is granted.");
}

PreflightCheckResult microphonePermission(const PreflightContext& context) {
    const Check check("microphone_permission", "Microphone Permission");
    if (!context.includeMicrophone) {
        return check.pass("Microphone capture is disabled.");
    }
    if (!context.microphonePermissionGranted) {
        return check.fail("Microphone permission is not granted.",
                          "Grant microphone permission or disable microphone capture.",
                          AppErrorCode::capturePermissionMicrophoneDenied, microphoneSettings);
    }
    return check.pass("Microphone permission is granted.");
}

PreflightCheckResult microphoneAvailability(const PreflightContext& context) {
    const Check check("microphone_availability", "Microphone Availability");
    if (!context.includeMicrophone) {
        return check.pass("Microphone capture is disabled.");
    }
    if (!context.microphonePermissionGranted) {
        return check.pass("Microphone permission check will block capture before device validation.");
    }
    if (!context.microphoneCapabilities.available) {
        return check.fail("No microphone input device was detected.",
                          "Connect or enable a microphone, or disable microphone capture.",
                          AppErrorCode::preflightMicrophoneUnavailable);
    }
    return check.pass("Microphone input device is available.",
                      {{deviceCountKey, std::to_string(context.microphoneCapabilities.deviceCount)}});
}

PreflightCheckResult diskCapacity(const PreflightContext& context) {
    const Check check("disk_capacity", "Disk Capacity");
    const Metadata available{{DiagnosticsMetadataKey::availableBytes,
                              std::to_string(context.diskCapacity.availableBytes.value_or(0))}};
    switch (context.diskCapacity.status) {
    case DiskCapacityStatus::pass:
        return check.pass("Sufficient disk capacity is available.");
    case DiskCapacityStatus::warn:
        return check.warn("Disk space is low and long recordings may fail.",
                          "Free disk space before long recordings.", AppErrorCode::preflightDiskSpaceCritical,
                          available);
    case DiskCapacityStatus::fail:
        return check.fail("Disk space is below the safe recording threshold.",
                          "Free disk space before starting recording.",
                          AppErrorCode::preflightDiskSpaceCritical, {}, available);
    case DiskCapacityStatus::unknown:
        break;
    }
    return check.warn("Disk capacity could not be determined.",
                      "Verify available disk space before recording.");
}

PreflightCheckResult displayTopology(const PreflightContext& context) {
    const Check check("display_topology", "Display Topology");
    const auto& issues = context.displayValidation.issues;
    const auto firstError = std::find_if(issues.begin(), issues.end(), [](const ValidationIssue& issue) {
        return issue.severity == ValidationIssueSeverity::error;
    });
    if (firstError != issues.end()) {
        return check.fail(firstError->message, "Reconnect displays and retry recording.",
                          AppErrorCode::preflightDisplayInvalid);
    }
    const auto warnings = std::count_if(issues.begin(), issues.end(), [](const ValidationIssue& issue) {
        return issue.severity == ValidationIssueSeverity::warning;
    });
    if (warnings > 0) {
        return check.warn(fmt::format("Display topology is usable with {} warning(s).", warnings),
                          "Review display setup if quality issues occur.");
    }
    return check.pass("Display topology validation passed.");
}

PreflightCheckResult runtimeGuard(const PreflightContext& context) {
    const Check check("runtime_guard", "Runtime Guard");
    if (!context.runtimeGuardReady) {
        return check.warn("Runtime safety monitor is not fully initialized.",
                          "Restart the app before long recordings.");
    }
    return check.pass("Runtime safety monitor is active.");
}

PreflightCheckResult cameraAvailability(const PreflightContext& context) {
    const Check check("camera_availability", "Camera Availability");
    if (!context.cameraRequired) {
        return check.pass("Camera track is not required.");
    }
    if (!context.cameraCapabilities.available) {
        return check.warn("No camera device detected.", "Connect or enable a camera to use PiP capture.");
    }
    return check.pass("Camera device is available.",
                      {{deviceCountKey, std::to_string(context.cameraCapabilities.deviceCount)}});
}

} // namespace

PreflightReport PreflightCheckRunner::run(const PreflightContext& context) {
    return {{captureSource(context), screenPermission(context), microphonePermission(context),
             microphoneAvailability(context), diskCapacity(context), displayTopology(context),
             runtimeGuard(context), cameraAvailability(context)}};
}

} // namespace tavrin
