#include "TavrinKit/Platform/V4L2/V4L2CameraCatalog.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr std::string_view prefix = "video";

/// The 12 of "video12".
std::optional<unsigned> numberOf(std::string_view fileName) {
    if (!fileName.starts_with(prefix)) {
        return std::nullopt;
    }
    fileName.remove_prefix(prefix.size());
    unsigned number = 0;
    const auto [end, error] = std::from_chars(fileName.data(), fileName.data() + fileName.size(), number);
    return error == std::errc() && end == fileName.data() + fileName.size() ? std::optional(number)
                                                                            : std::nullopt;
}

std::map<unsigned, std::filesystem::path> videoDevices(const std::filesystem::path& folder) {
    std::map<unsigned, std::filesystem::path> devices;
    std::error_code ignored; // no folder: no devices; one that goes away meanwhile is none either
    for (std::filesystem::directory_iterator entry(folder, ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        const auto number = numberOf(entry->path().filename().native());
        std::error_code unreadable;
        if (number && entry->is_character_file(unreadable)) {
            devices.emplace(*number, entry->path());
        }
    }
    return devices;
}

std::optional<v4l2_capability> capabilityOf(const std::filesystem::path& path) {
    // Not blocking: some drivers make the opener of a device in use wait.
    const int device = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (device < 0) {
        return std::nullopt;
    }
    v4l2_capability capability{};
    int result = 0;
    do {
        result = ::ioctl(device, VIDIOC_QUERYCAP, &capability);
    } while (result < 0 && errno == EINTR);
    ::close(device);
    return result < 0 ? std::nullopt : std::optional(capability);
}

bool isCamera(const v4l2_capability& capability) {
    constexpr std::uint32_t capturing = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE;
    constexpr std::uint32_t converting =
        V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_VIDEO_OUTPUT_MPLANE | V4L2_CAP_VIDEO_M2M | V4L2_CAP_VIDEO_M2M_MPLANE;
    // `capabilities` tells of all the devices of a camera together, where it tells of this one apart.
    const std::uint32_t own = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? capability.device_caps
                                                                                    : capability.capabilities;
    return (own & capturing) != 0 && (own & converting) == 0;
}

std::string nameOf(const v4l2_capability& capability) {
    const char* card = reinterpret_cast<const char*>(capability.card);
    return wellFormed({card, ::strnlen(card, sizeof capability.card)});
}

} // namespace

V4L2CameraCatalog::V4L2CameraCatalog(std::filesystem::path folder, std::string syntheticCameraID)
    : folder_(std::move(folder)), syntheticCameraID_(std::move(syntheticCameraID)) {}

std::vector<CaptureDevice> V4L2CameraCatalog::devices(std::stop_token stop) const {
    std::vector<CaptureDevice> cameras;
    for (const auto& [number, path] : videoDevices(folder_)) {
        throwIfCancelled(stop);
        const auto capability = capabilityOf(path);
        if (capability && isCamera(*capability)) {
            cameras.push_back({path.native(), nameOf(*capability)});
        }
    }
    if (!syntheticCameraID_.empty()) {
        cameras.push_back({syntheticCameraID_, "Synthetic camera"});
    }
    return cameras;
}

} // namespace tavrin
