#pragma once

#include <optional>
#include <string>

#include "TavrinKit/Readiness/DeviceCapability.h"
#include "TavrinKit/Readiness/DiskCapacityCheck.h"
#include "TavrinKit/Readiness/DisplayTopology.h"
#include "TavrinKit/Readiness/PreflightReport.h"

namespace tavrin {

/// All that the checks before a recording judge, gathered beforehand.
struct PreflightContext {
    int availableSourceCount = 0;
    std::optional<std::string> selectedSourceID;
    bool includeMicrophone = false;
    bool screenPermissionGranted = false;
    bool microphonePermissionGranted = false;
    MicrophoneCapabilitySnapshot microphoneCapabilities;
    DiskCapacityCheck diskCapacity;
    DisplayValidationReport displayValidation;
    bool runtimeGuardReady = false;
    bool cameraRequired = false;
    CameraCapabilitySnapshot cameraCapabilities;
};

/// The checks before a recording. Pure: they ask the system nothing.
namespace PreflightCheckRunner {

/// Runs all eight checks, always and in the same order.
[[nodiscard]] PreflightReport run(const PreflightContext& context);

} // namespace PreflightCheckRunner
} // namespace tavrin
