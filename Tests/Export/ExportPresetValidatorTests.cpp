#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Export/ExportPresetValidator.h"

namespace tavrin {
namespace {

using enum ExportVideoProfile;
using testing::ElementsAre;

/// On a machine that can do neither 4K nor HEVC.
ExportPresetValidationResult validated(const ExportPreset& preset) {
    return ExportPresetValidator().validate(preset, {});
}

ExportPreset fullHD() {
    return ExportPreset::required1080p(ExportAspectPreset::horizontal16x9,
                                       ExportSpeedQualityMode::highQuality);
}

TEST(ExportPresetValidatorTests, FitsInTheOrderOfTheRules) {
    ExportPreset preset = fullHD();
    preset.fps = 121;
    preset.aspect = ExportAspectPreset::square1x1;
    preset.resolution = {4000, 4000};
    preset.isOptional = true;
    preset.compatibility.requires4KCapability = true;
    preset.codec = ExportCodec::hevc;
    preset.profile = hevcMain;
    preset.container = ExportContainer::mov;
    preset.bitrate = {ExportBitrateStrategy::constrainedVBR, {}, 1, 2};
    const auto result = validated(preset);
    EXPECT_THAT(result.warnings,
                ElementsAre("FPS clamped to 120.", "4K not supported on this machine; using 1080p fallback.",
                            "HEVC is unavailable; falling back to H.264.",
                            "Container adjusted to MP4 for the current exporter.",
                            "Bitrate target was invalid; switching to auto bitrate."));
    EXPECT_EQ(result.blockedReason, std::nullopt);
    ExportPreset expected = preset;
    expected.fps = 120;
    expected.resolution = {1080, 1080};
    expected.isOptional = false;
    expected.compatibility.requires4KCapability = false;
    expected.codec = ExportCodec::h264;
    expected.profile = h264High;
    expected.container = ExportContainer::mp4;
    expected.bitrate = {};
    EXPECT_EQ(result.resolvedPreset, expected);

    preset = fullHD();
    preset.fps = NAN;
    EXPECT_THAT(validated(preset).warnings, ElementsAre("FPS clamped to 1."));
    EXPECT_EQ(validated(preset).resolvedPreset.fps, 1);
}

TEST(ExportPresetValidatorTests, WhatMayNotFallBackIsBlocked) {
    ExportPreset preset = fullHD();
    preset.fps = 240;
    preset.resolution = {3840, 2160};
    preset.codec = ExportCodec::hevc;
    preset.compatibility = {.allowCodecFallback = false, .allowResolutionFallback = false};
    EXPECT_EQ(validated(preset).blockedReason, "4K export is not supported on this machine.");
    EXPECT_THAT(validated(preset).warnings, ElementsAre("FPS clamped to 120."));
    preset.isOptional = true; // exempt, as it doesn't require it
    EXPECT_EQ(validated(preset).blockedReason, "HEVC is not supported on this machine.");
}

TEST(ExportPresetValidatorTests, ProfilesFollowTheCodec) {
    ExportPreset preset = fullHD();
    preset.profile = hevcMain;
    EXPECT_EQ(validated(preset).resolvedPreset.profile, h264High);
    EXPECT_THAT(validated(preset).warnings, ElementsAre("Video profile adjusted to H.264 High."));
    preset.codec = ExportCodec::hevc;
    preset.profile = h264Baseline;
    const auto result = ExportPresetValidator().validate(
        preset, {.gate = {true}, .codecs = {{ExportCodec::hevc, "main", true}}});
    EXPECT_EQ(result.resolvedPreset.profile, hevcMain);
    EXPECT_THAT(result.warnings, ElementsAre("Video profile adjusted to HEVC Main."));
}

} // namespace
} // namespace tavrin
