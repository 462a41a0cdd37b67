#pragma once

#include <filesystem>

#include "TavrinKit/Capture/CaptureDeviceCataloging.h"

namespace tavrin {

/// The cameras that the kernel knows: the devices video0, video1, … that capture pictures. What only plays
/// them, converts them or delivers data about them is no camera, and neither is a device that this process
/// may not open.
class V4L2CameraCatalog : public CaptureDeviceCataloging {
public:
    /// @param folder  where the devices lie
    explicit V4L2CameraCatalog(std::filesystem::path folder = "/dev");

    /// In the order of the devices' numbers; `id` is the device's path.
    /// @throws CancellationError between two devices
    [[nodiscard]] std::vector<CaptureDevice> devices(std::stop_token stop) const override;

private:
    const std::filesystem::path folder_;
};

} // namespace tavrin
