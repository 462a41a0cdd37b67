#include "TavrinKit/Export/ExportPresetValidator.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace tavrin {
namespace {

using Result = ExportPresetValidationResult;

void fitFrameRate(Result& result) {
    constexpr double least = 1;
    constexpr double most = 120;
    double& fps = result.resolvedPreset.fps;
    if (fps >= least && fps <= most) {
        return;
    }
    fps = fps > most ? most : least; // what is no number becomes the least
    result.warnings.push_back(fmt::format("FPS clamped to {}.", std::lround(fps)));
}

bool asksFor4K(const ExportPreset& preset) {
    constexpr int longSideOf4K = 3840;
    const bool isExempt = preset.isOptional && !preset.compatibility.requires4KCapability;
    return !isExempt && std::max(preset.resolution.width, preset.resolution.height) >= longSideOf4K;
}

void fitResolution(Result& result, const ExportCapabilitySnapshot& capability) {
    ExportPreset& preset = result.resolvedPreset;
    if (!asksFor4K(preset) || capability.gate.supports4K) {
        return;
    }
    if (!preset.compatibility.allowResolutionFallback) {
        result.blockedReason = "4K export is not supported on this machine.";
        return;
    }
    result.warnings.emplace_back("4K not supported on this machine; using 1080p fallback.");
    preset.resolution = ExportPreset::required1080p(preset.aspect, preset.mode).resolution;
    preset.compatibility.requires4KCapability = false;
    preset.isOptional = false;
}

void fitCodec(Result& result, const ExportCapabilitySnapshot& capability) {
    ExportPreset& preset = result.resolvedPreset;
    const bool hasHEVC = std::ranges::any_of(capability.codecs, [](const ExportCodecCapability& codec) {
        return codec.codec == ExportCodec::hevc && codec.supported;
    });
    if (preset.codec != ExportCodec::hevc || hasHEVC) {
        return;
    }
    if (!preset.compatibility.allowCodecFallback) {
        result.blockedReason = "HEVC is not supported on this machine.";
        return;
    }
    result.warnings.emplace_back("HEVC is unavailable; falling back to H.264.");
    preset.codec = ExportCodec::h264;
    preset.compatibility.requiresHEVCCapability = false;
    if (preset.profile == ExportVideoProfile::hevcMain) {
        preset.profile = ExportVideoProfile::h264High;
    }
}

void fitProfile(Result& result) {
    ExportPreset& preset = result.resolvedPreset;
    const bool isHEVC = preset.codec == ExportCodec::hevc;
    if (isHEVC == (preset.profile == ExportVideoProfile::hevcMain)) {
        return;
    }
    preset.profile = isHEVC ? ExportVideoProfile::hevcMain : ExportVideoProfile::h264High;
    result.warnings.emplace_back(isHEVC ? "Video profile adjusted to HEVC Main."
                                        : "Video profile adjusted to H.264 High.");
}

void fitContainer(Result& result) {
    if (result.resolvedPreset.container == ExportContainer::mov) {
        result.resolvedPreset.container = ExportContainer::mp4;
        result.warnings.emplace_back("Container adjusted to MP4 for the current exporter.");
    }
}

void fitBitrate(Result& result) {
    constexpr double leastMbps = 1;
    ExportBitrateProfile& bitrate = result.resolvedPreset.bitrate;
    const bool isValid = bitrate.strategy == ExportBitrateStrategy::automatic ||
                         (bitrate.targetMbps && *bitrate.targetMbps >= leastMbps);
    if (!isValid) {
        bitrate = {};
        result.warnings.emplace_back("Bitrate target was invalid; switching to auto bitrate.");
    }
}

} // namespace

ExportPresetValidationResult
ExportPresetValidator::validate(const ExportPreset& preset,
                                const ExportCapabilitySnapshot& capability) const {
    Result result{preset, preset};
    fitFrameRate(result);
    fitResolution(result, capability);
    if (result.isAllowed()) {
        fitCodec(result, capability);
    }
    if (result.isAllowed()) {
        fitProfile(result);
        fitContainer(result);
        fitBitrate(result);
    }
    return result;
}

} // namespace tavrin
