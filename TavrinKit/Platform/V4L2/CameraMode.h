#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// One way in which a camera can deliver its pictures.
struct CameraMode {
    std::string format; ///< FFmpeg's name of the codec or of the order of the samples, as in "mjpeg"
    PixelSize size;
    double framesPerSecond = 0; ///< 0: the camera doesn't say

    friend bool operator==(const CameraMode&, const CameraMode&) = default;
};

/// The mode to record a camera with: the rate nearest to 30 pictures a second that it has; at that rate the
/// largest size that fits in 1920 x 1080, or the smallest if none does; of that size what costs the least to
/// decode. Rates that a second of pictures can't tell apart, as 29.97 from 30, are one; an unknown rate
/// counts as 30.
///
/// @return nothing when there is no mode
[[nodiscard]] std::optional<CameraMode> bestCameraMode(const std::vector<CameraMode>& modes);

/// Asks a device of the kernel, as ioctl does: 0 for an answer.
using V4L2Control = std::function<int(unsigned long request, void* argument)>;

/// The modes that a device lists and that can be decoded here. Of sizes and rates that it has by steps, those
/// are listed that matter to `bestCameraMode`.
[[nodiscard]] std::vector<CameraMode> listedCameraModes(const V4L2Control& control);

} // namespace tavrin
