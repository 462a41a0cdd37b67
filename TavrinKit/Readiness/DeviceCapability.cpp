#include "TavrinKit/Readiness/DeviceCapability.h"

namespace tavrin {
namespace {

template <typename Snapshot>
void encodeDevices(Json& json, const Snapshot& value) {
    JsonObjectWriter(json)
        .put("available", value.available)
        .put("deviceCount", value.deviceCount)
        .put("deviceNames", value.deviceNames);
}

template <typename Snapshot>
void decodeDevices(const Json& json, Snapshot& value) {
    const JsonObject object(json);
    object.required("available", value.available);
    object.required("deviceCount", value.deviceCount);
    object.required("deviceNames", value.deviceNames);
}

} // namespace

void encode(Json& json, const CameraCapabilitySnapshot& value) {
    encodeDevices(json, value);
}

void decode(const Json& json, CameraCapabilitySnapshot& value) {
    decodeDevices(json, value);
}

void encode(Json& json, const MicrophoneCapabilitySnapshot& value) {
    encodeDevices(json, value);
}

void decode(const Json& json, MicrophoneCapabilitySnapshot& value) {
    decodeDevices(json, value);
}

} // namespace tavrin
