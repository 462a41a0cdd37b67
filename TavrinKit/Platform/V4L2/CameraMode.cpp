#include "TavrinKit/Platform/V4L2/CameraMode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <tuple>
#include <utility>

#include <linux/videodev2.h>

namespace tavrin {
namespace {

constexpr double wantedRate = 30;
constexpr PixelSize wantedSize{1920, 1080};

/// What a driver that answers every question can have listed.
constexpr std::uint32_t mostEntries = 256;

/// The formats that are taken, the cheapest to decode first.
constexpr std::array<std::pair<std::uint32_t, const char*>, 7> formats{{
    {V4L2_PIX_FMT_NV12, "nv12"},
    {V4L2_PIX_FMT_YUV420, "yuv420p"},
    {V4L2_PIX_FMT_YUYV, "yuyv422"},
    {V4L2_PIX_FMT_UYVY, "uyvy422"},
    {V4L2_PIX_FMT_MJPEG, "mjpeg"},
    {V4L2_PIX_FMT_JPEG, "mjpeg"},
    {V4L2_PIX_FMT_H264, "h264"},
}};

std::ptrdiff_t costOf(const CameraMode& mode) {
    return std::find_if(formats.begin(), formats.end(),
                        [&](const auto& format) { return format.second == mode.format; }) -
           formats.begin();
}

/// Smaller is better.
auto rankOf(const CameraMode& mode) {
    const double rate = mode.framesPerSecond > 0 ? mode.framesPerSecond : wantedRate;
    const auto rateDistance = std::llround(std::abs(rate - wantedRate));
    const bool isTooLarge = mode.size.width > wantedSize.width || mode.size.height > wantedSize.height;
    const std::int64_t area = std::int64_t(mode.size.width) * mode.size.height;
    return std::tuple(rateDistance, isTooLarge, isTooLarge ? area : -area, costOf(mode));
}

/// The multiple of `step` above `least` that lies next below `wanted`, within the range.
std::uint32_t stepNear(std::uint32_t wanted, std::uint32_t least, std::uint32_t most, std::uint32_t step) {
    const std::uint32_t bounded = std::clamp(wanted, least, std::max(least, most));
    return least + (bounded - least) / std::max(step, 1U) * std::max(step, 1U);
}

std::vector<PixelSize> listedSizes(const V4L2Control& control, std::uint32_t format) {
    std::vector<PixelSize> sizes;
    for (std::uint32_t index = 0; index < mostEntries; ++index) {
        v4l2_frmsizeenum entry{};
        entry.index = index;
        entry.pixel_format = format;
        if (control(VIDIOC_ENUM_FRAMESIZES, &entry) != 0) {
            break;
        }
        if (entry.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
            sizes.push_back({int(entry.discrete.width), int(entry.discrete.height)});
            continue;
        }
        const v4l2_frmsize_stepwise& steps = entry.stepwise;
        for (const PixelSize size : {wantedSize, PixelSize{1280, 720}, PixelSize{640, 480}}) {
            sizes.push_back(
                {int(stepNear(std::uint32_t(size.width), steps.min_width, steps.max_width, steps.step_width)),
                 int(stepNear(std::uint32_t(size.height), steps.min_height, steps.max_height,
                              steps.step_height))});
        }
        break;
    }
    return sizes;
}

double rateOf(const v4l2_fract& interval) {
    return interval.numerator > 0 ? double(interval.denominator) / interval.numerator : 0;
}

std::vector<double> listedRates(const V4L2Control& control, std::uint32_t format, PixelSize size) {
    std::vector<double> rates;
    for (std::uint32_t index = 0; index < mostEntries; ++index) {
        v4l2_frmivalenum entry{};
        entry.index = index;
        entry.pixel_format = format;
        entry.width = std::uint32_t(size.width);
        entry.height = std::uint32_t(size.height);
        if (control(VIDIOC_ENUM_FRAMEINTERVALS, &entry) != 0) {
            break;
        }
        if (entry.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
            rates.push_back(rateOf(entry.discrete));
            continue;
        }
        const double slowest = rateOf(entry.stepwise.max);
        rates.push_back(std::clamp(wantedRate, slowest, std::max(slowest, rateOf(entry.stepwise.min))));
        break;
    }
    if (rates.empty()) {
        rates.push_back(0);
    }
    return rates;
}

} // namespace

std::optional<CameraMode> bestCameraMode(const std::vector<CameraMode>& modes) {
    const auto best = std::min_element(modes.begin(), modes.end(),
                                       [](const auto& a, const auto& b) { return rankOf(a) < rankOf(b); });
    return best == modes.end() ? std::nullopt : std::optional(*best);
}

std::vector<CameraMode> listedCameraModes(const V4L2Control& control) {
    std::vector<CameraMode> modes;
    for (std::uint32_t index = 0; index < mostEntries; ++index) {
        v4l2_fmtdesc description{};
        description.index = index;
        description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (control(VIDIOC_ENUM_FMT, &description) != 0) {
            break;
        }
        const auto* const known = std::find_if(formats.begin(), formats.end(), [&](const auto& format) {
            return format.first == description.pixelformat;
        });
        if (known == formats.end()) {
            continue;
        }
        for (const PixelSize size : listedSizes(control, description.pixelformat)) {
            for (const double rate : listedRates(control, description.pixelformat, size)) {
                modes.push_back({known->second, size, rate});
            }
        }
    }
    return modes;
}

} // namespace tavrin
