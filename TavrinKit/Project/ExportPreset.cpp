#include "TavrinKit/Project/ExportPreset.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "TavrinKit/Support/Text.h"

namespace tavrin {

ExportResolution default1080pResolution(ExportAspectPreset aspect) {
    switch (aspect) {
    case ExportAspectPreset::horizontal16x9:
        return {1920, 1080};
    case ExportAspectPreset::vertical9x16:
        return {1080, 1920};
    case ExportAspectPreset::square1x1:
        return {1080, 1080};
    case ExportAspectPreset::horizontal4x3:
        return {1440, 1080};
    case ExportAspectPreset::vertical3x4:
        return {1080, 1440};
    }
    return {};
}

ExportResolution default4KResolution(ExportAspectPreset aspect) {
    const ExportResolution half = default1080pResolution(aspect);
    return {half.width * 2, half.height * 2};
}

ExportPreset ExportPreset::required1080p(ExportAspectPreset aspect, ExportSpeedQualityMode mode) {
    const bool highQuality = mode == ExportSpeedQualityMode::highQuality;
    ExportPreset preset;
    preset.name = "1080p";
    preset.aspect = aspect;
    preset.resolution = default1080pResolution(aspect);
    preset.bitrate = highQuality ? ExportBitrateProfile{ExportBitrateStrategy::constrainedVBR, 20, 12, 28}
                                 : ExportBitrateProfile{ExportBitrateStrategy::constrainedVBR, 10, 6, 14};
    preset.mode = mode;
    preset.id = preset.generatedIdentifier();
    return preset;
}

std::string ExportPreset::generatedIdentifier() const {
    std::string identifier =
        lowerCased(fmt::format("{}|{}|{}|{}x{}|{:.2f}|{}|{}", nameOf(category), name, nameOf(aspect),
                               resolution.width, resolution.height, fps, nameOf(codec), nameOf(mode)));
    std::replace(identifier.begin(), identifier.end(), ' ', '-');
    return identifier;
}

int ExportPreset::wholeFramesPerSecond() const {
    constexpr double most = 1'000'000;
    return std::isfinite(fps) ? int(std::lround(std::clamp(fps, 1.0, most))) : 1;
}

std::vector<ExportPreset> PremiumDefaults::defaultExportPresets(const ExportCapabilitySnapshot&) {
    std::vector<ExportPreset> presets;
    for (const ExportAspectPreset aspect : allExportAspectPresets) {
        presets.push_back(ExportPreset::required1080p(aspect, ExportSpeedQualityMode::highQuality));
    }
    return presets;
}

void encode(Json& json, const ExportResolution& value) {
    JsonObjectWriter(json).put("width", value.width).put("height", value.height);
}

void decode(const Json& json, ExportResolution& value) {
    const JsonObject object(json);
    object.required("width", value.width);
    object.required("height", value.height);
}

void encode(Json& json, const ExportBitrateProfile& value) {
    JsonObjectWriter(json)
        .put("strategy", value.strategy)
        .put("targetMbps", value.targetMbps)
        .put("minimumMbps", value.minimumMbps)
        .put("maximumMbps", value.maximumMbps);
}

void decode(const Json& json, ExportBitrateProfile& value) {
    const JsonObject object(json);
    object.required("strategy", value.strategy);
    object.tolerated("targetMbps", value.targetMbps);
    object.tolerated("minimumMbps", value.minimumMbps);
    object.tolerated("maximumMbps", value.maximumMbps);
}

void encode(Json& json, const ExportAudioProfile& value) {
    JsonObjectWriter(json)
        .put("sampleRateHz", value.sampleRateHz)
        .put("channels", value.channels)
        .put("bitrateKbps", value.bitrateKbps);
}

void decode(const Json& json, ExportAudioProfile& value) {
    const JsonObject object(json);
    object.required("sampleRateHz", value.sampleRateHz);
    object.required("channels", value.channels);
    object.required("bitrateKbps", value.bitrateKbps);
}

void encode(Json& json, const ExportCompatibilityConstraints& value) {
    JsonObjectWriter(json)
        .put("requires4KCapability", value.requires4KCapability)
        .put("requiresHEVCCapability", value.requiresHEVCCapability)
        .put("allowCodecFallback", value.allowCodecFallback)
        .put("allowResolutionFallback", value.allowResolutionFallback);
}

void decode(const Json& json, ExportCompatibilityConstraints& value) {
    const JsonObject object(json);
    object.required("requires4KCapability", value.requires4KCapability);
    object.required("requiresHEVCCapability", value.requiresHEVCCapability);
    object.required("allowCodecFallback", value.allowCodecFallback);
    object.required("allowResolutionFallback", value.allowResolutionFallback);
}

void encode(Json& json, const ExportPreset& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("name", value.name)
        .put("category", value.category)
        .put("aspect", value.aspect)
        .put("resolution", value.resolution)
        .put("fps", value.fps)
        .put("codec", value.codec)
        .put("container", value.container)
        .put("profile", value.profile)
        .put("bitrate", value.bitrate)
        .put("audio", value.audio)
        .put("compatibility", value.compatibility)
        .put("mode", value.mode)
        .put("isOptional", value.isOptional);
}

void decode(const Json& json, ExportPreset& value) {
    value = ExportPreset();
    const JsonObject object(json);
    object.tolerated("name", value.name);
    object.tolerated("category", value.category);
    object.tolerated("aspect", value.aspect);
    object.tolerated("resolution", value.resolution);
    object.tolerated("fps", value.fps);
    object.tolerated("codec", value.codec);
    object.tolerated("container", value.container);
    value.profile =
        value.codec == ExportCodec::hevc ? ExportVideoProfile::hevcMain : ExportVideoProfile::h264High;
    object.tolerated("profile", value.profile);
    object.tolerated("bitrate", value.bitrate);
    object.tolerated("audio", value.audio);
    object.tolerated("compatibility", value.compatibility);
    object.tolerated("mode", value.mode);
    object.tolerated("isOptional", value.isOptional);
    value.id = value.generatedIdentifier(); // from the frame rate as it was read
    object.tolerated("id", value.id);
    value.fps = std::max(value.fps, 1.0);
}

} // namespace tavrin
