#pragma once

#include <string>
#include <vector>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class ExportCodec { h264, hevc };

/// What a machine is strong enough to be offered.
struct ExportCapabilityGate {
    bool supports4K = false;

    friend bool operator==(const ExportCapabilityGate&, const ExportCapabilityGate&) = default;
};

struct ExportCodecCapability {
    ExportCodec codec = ExportCodec::h264;
    std::string profile; ///< as in "high" or "main"
    bool supported = false;
    bool hardwareAccelerated = false;

    friend bool operator==(const ExportCodecCapability&, const ExportCodecCapability&) = default;
};

/// What a machine can encode, at one moment.
struct ExportCapabilitySnapshot {
    int cpuCoreCount = 1; ///< at least 1
    int memoryGB = 1;     ///< whole GiB of physical memory, rounded down, at least 1
    ExportCapabilityGate gate;
    std::vector<ExportCodecCapability> codecs; ///< a codec without an entry isn't supported

    friend bool operator==(const ExportCapabilitySnapshot&, const ExportCapabilitySnapshot&) = default;
};

template <>
struct EnumNames<ExportCodec> {
    using enum ExportCodec;
    static constexpr auto names = namedCases<ExportCodec>({
        {h264, "h264"},
        {hevc, "hevc"},
    });
};

template <>
struct JsonRecord<ExportCodecCapability> {
    static void fields(auto& keys, auto& value) {
        keys.required("codec", value.codec);
        keys.required("profile", value.profile);
        keys.required("supported", value.supported);
        keys.required("hardwareAccelerated", value.hardwareAccelerated);
    }
};

} // namespace tavrin
