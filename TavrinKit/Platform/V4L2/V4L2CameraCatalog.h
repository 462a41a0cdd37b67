#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "TavrinKit/Capture/CaptureDeviceCataloging.h"

namespace tavrin {

/// The cameras that the kernel knows: the devices video0, video1, … that capture pictures. What only plays
/// them, converts them or delivers data about them is no camera, and neither is a device that this process
/// may not open.
///
/// A synthetic camera, a picture that libavdevice makes up, stands behind them when it is asked for: for
/// machines without a camera, and for tests.
class V4L2CameraCatalog : public CaptureDeviceCataloging {
public:
    /// What the id of a synthetic camera begins with; a graph of filters for libavdevice follows.
    static constexpr std::string_view syntheticPrefix = "lavfi:";
    /// A moving test picture with a clock in it.
    static constexpr std::string_view testPictureID = "lavfi:testsrc2=size=1280x720:rate=30";

    /// @param folder             where the devices lie
    /// @param syntheticCameraID  empty: there is no synthetic camera
    explicit V4L2CameraCatalog(std::filesystem::path folder = "/dev", std::string syntheticCameraID = {});

    /// In the order of the devices' numbers; `id` is the device's path.
    /// @throws CancellationError between two devices
    [[nodiscard]] std::vector<CaptureDevice> devices(std::stop_token stop) const override;

private:
    const std::filesystem::path folder_;
    const std::string syntheticCameraID_;
};

} // namespace tavrin
