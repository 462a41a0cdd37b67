#pragma once

#include <string>
#include <vector>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The cameras that are attached, at one moment.
struct CameraCapabilitySnapshot {
    bool available = false; ///< there is at least one
    int deviceCount = 0;
    std::vector<std::string> deviceNames; ///< sorted; a name for each device, so one may come twice

    friend bool operator==(const CameraCapabilitySnapshot&, const CameraCapabilitySnapshot&) = default;
};

/// The microphones that are attached, at one moment.
struct MicrophoneCapabilitySnapshot {
    bool available = false; ///< there is at least one
    int deviceCount = 0;
    std::vector<std::string> deviceNames; ///< sorted; a name for each device, so one may come twice

    friend bool operator==(const MicrophoneCapabilitySnapshot&,
                           const MicrophoneCapabilitySnapshot&) = default;
};

void encode(Json& json, const CameraCapabilitySnapshot& value);
void decode(const Json& json, CameraCapabilitySnapshot& value);
void encode(Json& json, const MicrophoneCapabilitySnapshot& value);
void decode(const Json& json, MicrophoneCapabilitySnapshot& value);

} // namespace tavrin
