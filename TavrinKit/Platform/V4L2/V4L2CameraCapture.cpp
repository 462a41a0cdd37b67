#include "TavrinKit/Platform/V4L2/V4L2CameraCapture.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "TavrinKit/Platform/V4L2/CameraMode.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCatalog.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/HostClock.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

constexpr const char* service = "TavrinKit.V4L2CameraCapture";

/// What a camera may pause in mid-take until it counts as gone.
constexpr double mostSecondsWithoutPicture = 5;

void log(const char* context, const std::exception_ptr& error) {
    logRecoverableFailure(service, context, error);
}

/// A device, open only to be asked.
class OpenDevice {
public:
    explicit OpenDevice(const std::string& path)
        : descriptor_(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)) {
        if (descriptor_ < 0) {
            switch (const int error = errno) {
            case EBUSY:
                throw LiveVideoError::busy(path);
            case EACCES:
            case EPERM:
                throw LiveVideoError::notPermitted(path);
            default:
                throw LiveVideoError::unusable(path, std::generic_category().message(error));
            }
        }
    }
    ~OpenDevice() { ::close(descriptor_); }
    OpenDevice(const OpenDevice&) = delete;
    OpenDevice& operator=(const OpenDevice&) = delete;

    [[nodiscard]] int control(unsigned long request, void* argument) const {
        int result = 0;
        do {
            result = ::ioctl(descriptor_, request, argument);
        } while (result < 0 && errno == EINTR);
        return result;
    }

private:
    const int descriptor_;
};

LiveVideoReader::Settings kernelCamera(const std::string& path) {
    std::vector<CameraMode> modes;
    {
        const OpenDevice device(path);
        modes = listedCameraModes(
            [&](unsigned long request, void* argument) { return device.control(request, argument); });
    }
    const std::optional<CameraMode> mode = bestCameraMode(modes);
    if (!mode) {
        throw CameraCaptureError::unableToAddInput();
    }
    LiveVideoReader::Settings settings;
    settings.device = "video4linux2";
    settings.source = path;
    settings.options = {{"input_format", mode->format},
                        {"video_size", fmt::format("{}x{}", mode->size.width, mode->size.height)}};
    if (mode->framesPerSecond > 0) {
        settings.options.emplace("framerate", fmt::format("{:.3f}", mode->framesPerSecond));
    }
    settings.patience = mostSecondsWithoutPicture;
    return settings;
}

LiveVideoReader::Settings syntheticCamera(std::string_view graph) {
    LiveVideoReader::Settings settings;
    settings.device = "lavfi";
    settings.source = graph;
    settings.isPaced = true;
    return settings;
}

/// What to open, and how. Asks a camera of the kernel, which may hang.
LiveVideoReader::Settings sourceOf(const std::string& deviceID) {
    constexpr std::string_view prefix = V4L2CameraCatalog::syntheticPrefix;
    return deviceID.starts_with(prefix) ? syntheticCamera(std::string_view(deviceID).substr(prefix.size()))
                                        : kernelCamera(deviceID);
}

bool isVideoDevice(const std::filesystem::directory_entry& entry) {
    std::error_code unreadable;
    return entry.path().filename().native().starts_with("video") && entry.is_character_file(unreadable);
}

} // namespace

SystemCameraPermissionProvider::SystemCameraPermissionProvider(bool hasSyntheticCamera,
                                                               std::filesystem::path folder)
    : hasSyntheticCamera_(hasSyntheticCamera), folder_(std::move(folder)) {}

bool SystemCameraPermissionProvider::requestAccessIfNeeded(std::stop_token stop) {
    if (hasSyntheticCamera_) {
        return true;
    }
    bool isRefused = false;
    std::error_code ignored;
    for (std::filesystem::directory_iterator entry(folder_, ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        throwIfCancelled(stop);
        if (!isVideoDevice(*entry)) {
            continue;
        }
        if (::access(entry->path().c_str(), R_OK | W_OK) == 0) {
            return true;
        }
        isRefused = isRefused || errno == EACCES || errno == EPERM;
    }
    return !isRefused;
}

std::optional<CaptureDevice> resolveCameraDevice(const std::vector<CaptureDevice>& devices,
                                                 const std::optional<std::string>& preferredDeviceID) {
    if (devices.empty()) {
        return std::nullopt;
    }
    const auto preferred = std::find_if(devices.begin(), devices.end(), [&](const CaptureDevice& device) {
        return device.id == preferredDeviceID;
    });
    return preferred == devices.end() ? devices.front() : *preferred;
}

V4L2CameraCapture::V4L2CameraCapture(std::filesystem::path outputURL)
    : V4L2CameraCapture(std::move(outputURL), Settings{}) {}

V4L2CameraCapture::V4L2CameraCapture(std::filesystem::path outputURL, Settings settings)
    : outputURL_(std::move(outputURL)), settings_([&] {
          if (!settings.devices) {
              settings.devices = std::make_shared<V4L2CameraCatalog>();
          }
          if (!settings.permissionProvider) {
              settings.permissionProvider = std::make_shared<SystemCameraPermissionProvider>();
          }
          return std::move(settings);
      }()) {}

V4L2CameraCapture::~V4L2CameraCapture() {
    if (state_.with([](const State& state) { return state.recording != nullptr; })) {
        V4L2CameraCapture::cancel();
    }
}

void V4L2CameraCapture::start(const CameraCaptureOptions& options, std::stop_token stop) {
    const std::stop_source cancelled = state_.with([](State& state) {
        if (state.hasStarted) {
            throw CameraCaptureError::alreadyStarted();
        }
        state = State{};
        state.hasStarted = true;
        return state.starting;
    });
    const std::stop_callback forwarding(stop, [target = cancelled]() mutable { target.request_stop(); });
    Recording recording;
    try {
        recording = startRecording(options, cancelled.get_token());
        state_.with([&](State& state) {
            throwIfCancelled(cancelled.get_token());
            state.recording = recording;
        });
    } catch (...) {
        if (recording) {
            discard(recording);
        }
        state_.with([&](State& state) {
            if (state.starting == cancelled) {
                state = State{};
            }
        });
        throw;
    }
}

V4L2CameraCapture::Recording V4L2CameraCapture::startRecording(const CameraCaptureOptions& options,
                                                               const std::stop_token& stop) {
    if (!settings_.permissionProvider->requestAccessIfNeeded(stop)) {
        throw CameraCaptureError::permissionDenied();
    }
    const std::optional<CaptureDevice> device =
        resolveCameraDevice(settings_.devices->devices(stop), options.preferredDeviceID);
    if (!device) {
        throw CameraCaptureError::deviceUnavailable();
    }
    removeFile(outputURL_);
    CameraRecording::Settings settings;
    settings.outputURL = outputURL_;
    settings.source = [id = device->id] {
        return sourceOf(id);
    };
    settings.deviceName = device->name;
    settings.startPatience = settings_.startPatience;
    const auto recording = std::make_shared<CameraRecording>(std::move(settings));
    try {
        recording->start(stop);
    } catch (const CancellationError&) {
        throw;
    } catch (const CameraCaptureError&) {
        throw;
    } catch (const LiveVideoError& error) {
        if (error.kind() == LiveVideoErrorKind::notPermitted) {
            throw CameraCaptureError::permissionDenied();
        }
        throw CameraCaptureError::recordingStartFailed(std::current_exception());
    } catch (...) {
        throw CameraCaptureError::recordingStartFailed(std::current_exception());
    }
    return recording;
}

void V4L2CameraCapture::setTimeZero(double hostTime) {
    if (const Recording recording = state_.with([](const State& state) { return state.recording; })) {
        recording->setTimeZero(hostTime);
    }
}

void V4L2CameraCapture::setEnd(double hostTime) {
    const Recording recording = state_.with([&](State& state) {
        state.end = hostTime;
        return state.recording;
    });
    if (recording) {
        recording->setEnd(hostTime);
    }
}

CameraCaptureTrackResult V4L2CameraCapture::stop(std::stop_token stop) {
    const auto [recording, end] =
        state_.with([](const State& state) { return std::pair(state.recording, state.end); });
    if (!recording) {
        throw CameraCaptureError::notStarted();
    }
    const double endTime = end.value_or(HostClock::now());
    try {
        recording->finish(endTime, stop);
    } catch (const CancellationError&) {
        throw;
    } catch (...) { // What there is of the movie is worth keeping.
        log("stop.finish", std::current_exception());
    }
    state_.with([&](State& state) {
        state = State{};
        state.lastWarnings = recording->warnings();
    });
    std::error_code ignored;
    if (!std::filesystem::exists(outputURL_, ignored)) {
        throw CameraCaptureError::recordingFailed(
            std::make_exception_ptr(CameraCaptureError::outputMissing()));
    }
    const double startedAt = recording->timeZero();
    return {outputURL_, startedAt, std::max(startedAt, endTime)};
}

std::vector<std::string> V4L2CameraCapture::warnings() const {
    const auto [recording, last] =
        state_.with([](const State& state) { return std::pair(state.recording, state.lastWarnings); });
    return recording ? recording->warnings() : last;
}

void V4L2CameraCapture::cancel() noexcept {
    discard(state_.with([](State& state) {
        state.starting.request_stop();
        Recording taken = std::move(state.recording);
        if (taken) {
            state = State{};
        }
        return taken;
    }));
}

/// Ends it, if there is one, and sees to it that no file stays.
void V4L2CameraCapture::discard(const Recording& recording) const noexcept {
    if (recording && !recording->abandon()) {
        log("cancel.waitForFinish", std::make_exception_ptr(Error("The camera did not stop in time.")));
    }
    try {
        removeFile(outputURL_);
    } catch (...) {
        logRecoverableFailure(service, "cancel.removeOutput", std::current_exception(),
                              {{"outputPath", outputURL_.string()}});
    }
}

} // namespace tavrin
