#pragma once

#include <string>
#include <vector>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The devices of one kind that are attached, at one moment.
struct DeviceCapabilitySnapshot {
    bool available = false; ///< there is at least one
    int deviceCount = 0;
    std::vector<std::string> deviceNames{}; ///< sorted; a name for each device, so one may come twice

    friend bool operator==(const DeviceCapabilitySnapshot&, const DeviceCapabilitySnapshot&) = default;
};

struct CameraCapabilitySnapshot : DeviceCapabilitySnapshot {};
struct MicrophoneCapabilitySnapshot : DeviceCapabilitySnapshot {};

template <>
struct JsonRecord<DeviceCapabilitySnapshot> {
    static void fields(auto& keys, auto& value) {
        keys.required("available", value.available);
        keys.required("deviceCount", value.deviceCount);
        keys.required("deviceNames", value.deviceNames);
    }
};

template <>
struct JsonRecord<CameraCapabilitySnapshot> : JsonRecord<DeviceCapabilitySnapshot> {};

template <>
struct JsonRecord<MicrophoneCapabilitySnapshot> : JsonRecord<DeviceCapabilitySnapshot> {};

} // namespace tavrin
