#pragma once

#include <cstdint>
#include <filesystem>

#include "TavrinKit/Export/ExportCapabilityServicing.h"
#include "TavrinKit/Readiness/DeviceCapability.h"
#include "TavrinKit/Readiness/DiskCapacityCheck.h"

namespace tavrin {

/// Says what the machine can do. Every answer is taken fresh, none throws, and none takes much longer than
/// two seconds. Any thread.
class CapabilityServicing : public ExportCapabilityServicing {
public:
    static constexpr std::int64_t defaultDiskWarningThresholdBytes = 5368709120; ///< 5 GiB
    static constexpr std::int64_t defaultDiskFailureThresholdBytes = 2147483648; ///< 2 GiB

    [[nodiscard]] virtual CameraCapabilitySnapshot cameraCapabilities() const = 0;
    [[nodiscard]] virtual MicrophoneCapabilitySnapshot microphoneCapabilities() const = 0;

    /// The room on the disk that `path` lies on, or would lie on if it were created.
    /// @return with the status `unknown` where that can't be told
    [[nodiscard]] virtual DiskCapacityCheck diskCapacity(const std::filesystem::path& path,
                                                         std::int64_t warningThresholdBytes,
                                                         std::int64_t failureThresholdBytes) const = 0;

    /// With the default thresholds.
    [[nodiscard]] DiskCapacityCheck diskCapacity(const std::filesystem::path& path) const {
        return diskCapacity(path, defaultDiskWarningThresholdBytes, defaultDiskFailureThresholdBytes);
    }
};

} // namespace tavrin
