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
    for (const ExportAspectPreset aspect : allCases<ExportAspectPreset>) {
        presets.push_back(ExportPreset::required1080p(aspect, ExportSpeedQualityMode::highQuality));
    }
    return presets;
}

void decode(const Json& json, ExportPreset& value) {
    const JsonObject keys(json);
    value = ExportPreset();
    keys.tolerated("codec", value.codec);
    if (value.codec == ExportCodec::hevc) {
        value.profile = ExportVideoProfile::hevcMain; // which the profile's own key overrides
    }
    JsonRecord<ExportPreset>::fields(keys, value);
    if (keys.find("id") == nullptr) {
        value.id = value.generatedIdentifier(); // from the frame rate as it was read
    }
    value.fps = std::max(value.fps, 1.0);
}

} // namespace tavrin
