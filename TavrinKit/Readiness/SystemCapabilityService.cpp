#include "TavrinKit/Readiness/SystemCapabilityService.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "TavrinKit/Readiness/MachineFacts.h"
#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/Race.h"

namespace tavrin {
namespace {

constexpr auto answerBudget = std::chrono::seconds(2);
constexpr const char* service = "TavrinKit.SystemCapabilityService";

std::exception_ptr noAnswer() {
    return std::make_exception_ptr(Error("There was no answer in time."));
}

std::vector<CaptureDevice> attachedDevices(const std::shared_ptr<const CaptureDeviceCataloging>& catalog,
                                           const char* context) {
    if (!catalog) {
        return {};
    }
    try {
        auto devices = raceAgainstTimer(
            answerBudget, {}, [catalog](std::stop_token stop) { return catalog->devices(std::move(stop)); });
        if (devices) {
            return std::move(*devices);
        }
        logRecoverableFailure(service, context, noAnswer());
    } catch (...) {
        logRecoverableFailure(service, context, std::current_exception());
    }
    return {};
}

template <typename Snapshot>
Snapshot snapshotOf(const std::vector<CaptureDevice>& devices) {
    Snapshot snapshot;
    snapshot.available = !devices.empty();
    snapshot.deviceCount = int(devices.size());
    for (const CaptureDevice& device : devices) {
        snapshot.deviceNames.push_back(device.name);
    }
    std::sort(snapshot.deviceNames.begin(), snapshot.deviceNames.end());
    return snapshot;
}

} // namespace

SystemCapabilityService::SystemCapabilityService(std::shared_ptr<const CaptureDeviceCataloging> microphones,
                                                 std::shared_ptr<const CaptureDeviceCataloging> cameras)
    : microphones_(std::move(microphones)), cameras_(std::move(cameras)) {}

ExportCapabilitySnapshot SystemCapabilityService::exportCapabilities() const {
    return exportCapabilities(MachineFacts::processorCount(), MachineFacts::physicalMemoryBytes());
}

ExportCapabilitySnapshot SystemCapabilityService::exportCapabilities(int processorCount,
                                                                     std::uint64_t physicalMemoryBytes) {
    ExportCapabilitySnapshot snapshot;
    snapshot.cpuCoreCount = std::max(processorCount, 1);
    snapshot.memoryGB = int(std::max<std::uint64_t>(physicalMemoryBytes >> 30, 1));
    snapshot.gate.supports4K = processorCount >= 8 && snapshot.memoryGB >= 16;
    const bool offersHEVC = processorCount >= 6 && snapshot.memoryGB >= 8;
    snapshot.codecs = {{ExportCodec::h264, "high", true, true},
                       {ExportCodec::hevc, "main", offersHEVC, offersHEVC}};
    return snapshot;
}

CameraCapabilitySnapshot SystemCapabilityService::cameraCapabilities() const {
    return snapshotOf<CameraCapabilitySnapshot>(attachedDevices(cameras_, "cameraCapabilities.devices"));
}

MicrophoneCapabilitySnapshot SystemCapabilityService::microphoneCapabilities() const {
    return snapshotOf<MicrophoneCapabilitySnapshot>(
        attachedDevices(microphones_, "microphoneCapabilities.devices"));
}

DiskCapacityCheck SystemCapabilityService::diskCapacity(const std::filesystem::path& path,
                                                        std::int64_t warningThresholdBytes,
                                                        std::int64_t failureThresholdBytes) const {
    constexpr const char* context = "diskCapacity.resourceValues";
    const LogMetadata metadata{{"rootPath", path.native()}};
    std::optional<std::int64_t> available;
    try {
        const auto answer = raceAgainstTimer(
            answerBudget, {}, [path](std::stop_token) { return MachineFacts::availableDiskBytes(path); });
        if (answer) {
            available = *answer;
        } else {
            logRecoverableFailure(service, context, noAnswer(), metadata);
        }
    } catch (...) {
        logRecoverableFailure(service, context, std::current_exception(), metadata);
    }
    return DiskCapacityCheck::judge(available, warningThresholdBytes, failureThresholdBytes);
}

} // namespace tavrin
