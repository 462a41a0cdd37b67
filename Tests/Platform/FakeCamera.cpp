#include "FakeCamera.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <deque>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>

#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tavrin::test {
namespace {

std::mutex& driversMutex() {
    static std::mutex mutex;
    return mutex;
}

std::map<std::string, Driver>& drivers() {
    static std::map<std::string, Driver> byPath;
    return byPath;
}

Driver driverOf(int descriptor) {
    const std::lock_guard lock(driversMutex());
    if (drivers().empty()) {
        return {};
    }
    char path[512] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    [[maybe_unused]] const ssize_t length = ::readlink(link.c_str(), path, sizeof path - 1);
    const auto driver = drivers().find(path);
    return driver == drivers().end() ? Driver{} : driver->second;
}

double monotonicNow() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

int fail(int error) {
    errno = error;
    return -1;
}

constexpr std::uint32_t bufferCount = 4;

} // namespace

void installDriver(const std::string& path, Driver driver) {
    const std::lock_guard lock(driversMutex());
    drivers()[path] = std::move(driver);
}

void removeDrivers() {
    const std::lock_guard lock(driversMutex());
    drivers().clear();
}

struct FakeCamera::State {
    Settings settings;
    std::string path;
    std::mutex mutex;
    Mode mode;
    std::deque<std::uint32_t> queued;
    double started = 0;
    std::vector<double> times;

    [[nodiscard]] std::uint32_t pageSize() const {
        return (std::uint32_t(mode.size.width * mode.size.height * 2) + 4095) / 4096 * 4096;
    }
    [[nodiscard]] const Mode* find(std::uint32_t format, std::optional<PixelSize> size,
                                   std::uint32_t index) const {
        for (const Mode& each : settings.modes) {
            if (each.format == format && each.size == size.value_or(each.size) && index-- == 0) {
                return &each;
            }
        }
        return nullptr;
    }

    int control(unsigned long request, void* argument);
    int setFormat(v4l2_pix_format& pixels);
    int dequeue(v4l2_buffer& buffer);
};

int FakeCamera::State::setFormat(v4l2_pix_format& pixels) {
    const Mode* known = find(pixels.pixelformat, PixelSize{int(pixels.width), int(pixels.height)}, 0);
    if (known == nullptr) {
        return fail(EINVAL);
    }
    mode = *known;
    pixels.field = V4L2_FIELD_NONE;
    pixels.sizeimage = pageSize();
    return 0;
}

int FakeCamera::State::dequeue(v4l2_buffer& buffer) {
    const auto number = times.size();
    if (int(number) >= settings.picturesToLive) {
        return fail(ENODEV);
    }
    // Uneven, as exposures are.
    const double due = started + (double(number) + 0.15 * double(number % 3)) / mode.rate;
    if (settings.isSilent || queued.empty() || monotonicNow() < due) {
        return fail(EAGAIN);
    }
    buffer.index = queued.front();
    queued.pop_front();
    const std::string bytes =
        settings.picture.empty() ? std::string(std::size_t(mode.size.width * mode.size.height) * 2, char(128))
                                 : settings.picture;
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(std::streamoff(buffer.index) * pageSize());
    file.write(bytes.data(), std::streamsize(bytes.size()));
    buffer.bytesused = std::uint32_t(bytes.size());
    buffer.length = pageSize();
    buffer.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    buffer.timestamp.tv_sec = time_t(due);
    buffer.timestamp.tv_usec = suseconds_t((due - std::floor(due)) * 1e6);
    times.push_back(due);
    return 0;
}

int FakeCamera::State::control(unsigned long request, void* argument) {
    const std::lock_guard lock(mutex);
    switch (request) {
    case VIDIOC_QUERYCAP:
        static_cast<v4l2_capability*>(argument)->capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        return 0;
    case VIDIOC_G_INPUT:
        *static_cast<int*>(argument) = 0;
        return 0;
    case VIDIOC_ENUMINPUT:
        static_cast<v4l2_input*>(argument)->std = 0;
        return 0;
    case VIDIOC_ENUM_FMT: {
        auto& description = *static_cast<v4l2_fmtdesc*>(argument);
        if (description.index >= settings.modes.size()) {
            return fail(EINVAL);
        }
        description.pixelformat = settings.modes[description.index].format;
        return 0;
    }
    case VIDIOC_ENUM_FRAMESIZES: {
        auto& entry = *static_cast<v4l2_frmsizeenum*>(argument);
        const Mode* known = find(entry.pixel_format, std::nullopt, entry.index);
        if (known == nullptr) {
            return fail(EINVAL);
        }
        entry.type = V4L2_FRMSIZE_TYPE_DISCRETE;
        entry.discrete = {std::uint32_t(known->size.width), std::uint32_t(known->size.height)};
        return 0;
    }
    case VIDIOC_ENUM_FRAMEINTERVALS: {
        auto& entry = *static_cast<v4l2_frmivalenum*>(argument);
        const Mode* known =
            find(entry.pixel_format, PixelSize{int(entry.width), int(entry.height)}, entry.index);
        if (known == nullptr) {
            return fail(EINVAL);
        }
        entry.type = V4L2_FRMIVAL_TYPE_DISCRETE;
        entry.discrete = {1, std::uint32_t(known->rate)};
        return 0;
    }
    case VIDIOC_S_FMT:
        return setFormat(static_cast<v4l2_format*>(argument)->fmt.pix);
    case VIDIOC_G_PARM:
    case VIDIOC_S_PARM: {
        auto& capture = static_cast<v4l2_streamparm*>(argument)->parm.capture;
        capture.capability = V4L2_CAP_TIMEPERFRAME;
        capture.timeperframe = {1, std::uint32_t(mode.rate)};
        return 0;
    }
    case VIDIOC_REQBUFS:
        if (settings.isBusy) {
            return fail(EBUSY);
        }
        static_cast<v4l2_requestbuffers*>(argument)->count = bufferCount;
        return ::truncate(path.c_str(), off_t(bufferCount) * pageSize());
    case VIDIOC_QUERYBUF: {
        auto& buffer = *static_cast<v4l2_buffer*>(argument);
        buffer.length = pageSize();
        buffer.m.offset = buffer.index * pageSize();
        return 0;
    }
    case VIDIOC_QBUF:
        queued.push_back(static_cast<v4l2_buffer*>(argument)->index);
        return 0;
    case VIDIOC_DQBUF:
        return dequeue(*static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
        started = monotonicNow();
        return 0;
    case VIDIOC_STREAMOFF:
        return 0;
    default:
        return fail(ENOTTY);
    }
}

FakeCamera::FakeCamera(const Settings& settings)
    : path_(folder_ / "video0"), state_(std::make_shared<State>()) {
    std::ofstream(path_).put('\0');
    state_->settings = settings;
    state_->path = path_;
    installDriver(path_, [state = state_](unsigned long request, void* argument) {
        return state->control(request, argument);
    });
}

std::vector<double> FakeCamera::times() const {
    const std::lock_guard lock(state_->mutex);
    return state_->times;
}

} // namespace tavrin::test

/// In place of the library's, for this whole program.
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (const tavrin::test::Driver driver = tavrin::test::driverOf(descriptor)) {
        return driver(request, argument);
    }
    return int(::syscall(SYS_ioctl, descriptor, request, argument));
}
