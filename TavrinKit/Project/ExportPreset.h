#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Project/ExportAspectPreset.h"
#include "TavrinKit/Project/ExportCapability.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class ExportPresetCategory { builtIn, custom };
enum class ExportContainer { mp4, mov };
enum class ExportVideoProfile { h264Baseline, h264Main, h264High, hevcMain };

enum class ExportBitrateStrategy {
    automatic, ///< "auto" in JSON: the encoder's rate follows from size, frame rate, codec and mode
    constrainedVBR,
    constantMbps,
};

enum class ExportSpeedQualityMode { fastPreview, highQuality };

/// A size in whole pixels.
struct ExportResolution {
    int width = 1920;
    int height = 1080;

    friend bool operator==(const ExportResolution&, const ExportResolution&) = default;
};

/// @return what a movie of this aspect measures when its shorter side has 1080 pixels
[[nodiscard]] ExportResolution default1080pResolution(ExportAspectPreset aspect);
/// @return what a movie of this aspect measures when its shorter side has 2160 pixels
[[nodiscard]] ExportResolution default4KResolution(ExportAspectPreset aspect);

/// How many bits the encoder may spend; all in megabits per second.
struct ExportBitrateProfile {
    ExportBitrateStrategy strategy = ExportBitrateStrategy::automatic;
    std::optional<double> targetMbps;  ///< ignored when the strategy is automatic
    std::optional<double> minimumMbps; ///< kept for the user; no encoder setting follows from it
    std::optional<double> maximumMbps; ///< as `minimumMbps`

    friend bool operator==(const ExportBitrateProfile&, const ExportBitrateProfile&) = default;
};

struct ExportAudioProfile {
    int sampleRateHz = 48000;
    int channels = 2;
    int bitrateKbps = 192;

    friend bool operator==(const ExportAudioProfile&, const ExportAudioProfile&) = default;
};

/// What a preset needs of the machine, and what may be given up where the machine hasn't got it.
struct ExportCompatibilityConstraints {
    bool requires4KCapability = false;
    bool requiresHEVCCapability = false;
    bool allowCodecFallback = true;
    bool allowResolutionFallback = true;

    friend bool operator==(const ExportCompatibilityConstraints&,
                           const ExportCompatibilityConstraints&) = default;
};

/// Everything about the output of an export.
///
/// In JSON every key may be missing; then it has the default given here, the profile follows the codec and
/// the identifier is generated from the other values. A nested object that is present must be complete.
struct ExportPreset {
    std::string id;
    std::string name = "Custom";
    ExportPresetCategory category = ExportPresetCategory::builtIn;
    ExportAspectPreset aspect = ExportAspectPreset::horizontal16x9;
    ExportResolution resolution;
    double fps = 60; ///< frames per second, at least 1
    ExportCodec codec = ExportCodec::h264;
    ExportContainer container = ExportContainer::mp4;
    ExportVideoProfile profile = ExportVideoProfile::h264High;
    ExportBitrateProfile bitrate;
    ExportAudioProfile audio;
    ExportCompatibilityConstraints compatibility;
    ExportSpeedQualityMode mode = ExportSpeedQualityMode::highQuality;
    bool isOptional = false;

    /// The built-in preset of an aspect: H.264 High at 60 frames per second, 20 Mbps, or 10 for a preview.
    [[nodiscard]] static ExportPreset required1080p(ExportAspectPreset aspect, ExportSpeedQualityMode mode);

    /// The identifier that follows from the values, as in
    /// "builtin|1080p|horizontal16x9|1920x1080|60.00|h264|highquality". `id` itself plays no part.
    [[nodiscard]] std::string generatedIdentifier() const;

    /// `fps` rounded to a whole number of frames, at least 1: the rate at which a movie is written.
    [[nodiscard]] int wholeFramesPerSecond() const;

    friend bool operator==(const ExportPreset&, const ExportPreset&) = default;
};

namespace PremiumDefaults {

/// The built-in presets, one for each aspect in the order of the enumeration. They are the same on every
/// machine: what it can't do is told when a preset is validated.
[[nodiscard]] std::vector<ExportPreset> defaultExportPresets(const ExportCapabilitySnapshot& capability);

} // namespace PremiumDefaults

template <>
struct EnumNames<ExportPresetCategory> {
    using enum ExportPresetCategory;
    static constexpr auto names = namedCases<ExportPresetCategory>({
        {builtIn, "builtIn"},
        {custom, "custom"},
    });
};

template <>
struct EnumNames<ExportContainer> {
    using enum ExportContainer;
    static constexpr auto names = namedCases<ExportContainer>({
        {mp4, "mp4"},
        {mov, "mov"},
    });
};

template <>
struct EnumNames<ExportVideoProfile> {
    using enum ExportVideoProfile;
    static constexpr auto names = namedCases<ExportVideoProfile>({
        {h264Baseline, "h264Baseline"},
        {h264Main, "h264Main"},
        {h264High, "h264High"},
        {hevcMain, "hevcMain"},
    });
};

template <>
struct EnumNames<ExportBitrateStrategy> {
    using enum ExportBitrateStrategy;
    static constexpr auto names = namedCases<ExportBitrateStrategy>({
        {automatic, "auto"},
        {constrainedVBR, "constrainedVBR"},
        {constantMbps, "constantMbps"},
    });
};

template <>
struct EnumNames<ExportSpeedQualityMode> {
    using enum ExportSpeedQualityMode;
    static constexpr auto names = namedCases<ExportSpeedQualityMode>({
        {fastPreview, "fastPreview"},
        {highQuality, "highQuality"},
    });
};

template <>
struct JsonRecord<ExportResolution> {
    static void fields(auto& keys, auto& value) {
        keys.required("width", value.width);
        keys.required("height", value.height);
    }
};

template <>
struct JsonRecord<ExportBitrateProfile> {
    static void fields(auto& keys, auto& value) {
        keys.required("strategy", value.strategy);
        keys.tolerated("targetMbps", value.targetMbps);
        keys.tolerated("minimumMbps", value.minimumMbps);
        keys.tolerated("maximumMbps", value.maximumMbps);
    }
};

template <>
struct JsonRecord<ExportAudioProfile> {
    static void fields(auto& keys, auto& value) {
        keys.required("sampleRateHz", value.sampleRateHz);
        keys.required("channels", value.channels);
        keys.required("bitrateKbps", value.bitrateKbps);
    }
};

template <>
struct JsonRecord<ExportCompatibilityConstraints> {
    static void fields(auto& keys, auto& value) {
        keys.required("requires4KCapability", value.requires4KCapability);
        keys.required("requiresHEVCCapability", value.requiresHEVCCapability);
        keys.required("allowCodecFallback", value.allowCodecFallback);
        keys.required("allowResolutionFallback", value.allowResolutionFallback);
    }
};

template <>
struct JsonRecord<ExportPreset> {
    static void fields(auto& keys, auto& value) {
        keys.tolerated("id", value.id);
        keys.tolerated("name", value.name);
        keys.tolerated("category", value.category);
        keys.tolerated("aspect", value.aspect);
        keys.tolerated("resolution", value.resolution);
        keys.tolerated("fps", value.fps);
        keys.tolerated("codec", value.codec);
        keys.tolerated("container", value.container);
        keys.tolerated("profile", value.profile);
        keys.tolerated("bitrate", value.bitrate);
        keys.tolerated("audio", value.audio);
        keys.tolerated("compatibility", value.compatibility);
        keys.tolerated("mode", value.mode);
        keys.tolerated("isOptional", value.isOptional);
    }
};

void decode(const Json& json, ExportPreset& value);

} // namespace tavrin
