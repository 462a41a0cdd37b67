#pragma once

#include <memory>

#include "TavrinKit/Capture/CaptureDeviceCataloging.h"
#include "TavrinKit/Readiness/CapabilityServicing.h"

namespace tavrin {

/// Answers for the machine that it runs on.
///
/// It keeps nothing between two calls. What may hang (a sound server, a driver, a disk at the other end of a
/// network) is given two seconds; then the devices count as none and the disk as unknown. So does what fails,
/// and a line in the log says why.
class SystemCapabilityService : public CapabilityServicing {
public:
    /// @param microphones  null: there are none
    /// @param cameras      null: there are none
    SystemCapabilityService(std::shared_ptr<const CaptureDeviceCataloging> microphones,
                            std::shared_ptr<const CaptureDeviceCataloging> cameras);

    [[nodiscard]] ExportCapabilitySnapshot exportCapabilities() const override;
    [[nodiscard]] CameraCapabilitySnapshot cameraCapabilities() const override;
    [[nodiscard]] MicrophoneCapabilitySnapshot microphoneCapabilities() const override;
    [[nodiscard]] DiskCapacityCheck diskCapacity(const std::filesystem::path& path,
                                                 std::int64_t warningThresholdBytes,
                                                 std::int64_t failureThresholdBytes) const override;
    using CapabilityServicing::diskCapacity;

    /// What a machine of that size should be offered. No codec is tried out: the answer is a rule over the
    /// two numbers.
    [[nodiscard]] static ExportCapabilitySnapshot exportCapabilities(int processorCount,
                                                                     std::uint64_t physicalMemoryBytes);

private:
    const std::shared_ptr<const CaptureDeviceCataloging> microphones_;
    const std::shared_ptr<const CaptureDeviceCataloging> cameras_;
};

} // namespace tavrin
