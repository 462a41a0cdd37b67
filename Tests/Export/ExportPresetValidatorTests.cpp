#include <cmath>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Export/ExportPresetValidator.h"

namespace tavrin {
namespace {

using enum ExportVideoProfile;
using enum ExportBitrateStrategy;
using Change = std::function<void(ExportPreset&)>;

template <typename T>
Change set(T ExportPreset::*member, std::type_identity_t<T> value) {
    return [=](ExportPreset& preset) {
        preset.*member = value;
    };
}

constexpr auto aspect = &ExportPreset::aspect;
constexpr auto size = &ExportPreset::resolution;
constexpr auto fps = &ExportPreset::fps;
constexpr auto codec = &ExportPreset::codec;
constexpr auto container = &ExportPreset::container;
constexpr auto profile = &ExportPreset::profile;
constexpr auto bitrate = &ExportPreset::bitrate;
constexpr auto compatibility = &ExportPreset::compatibility;
constexpr auto isOptional = &ExportPreset::isOptional;

ExportPreset with(ExportPreset preset, const std::vector<Change>& changes) {
    for (const Change& change : changes) {
        change(preset);
    }
    return preset;
}

struct Case {
    const char* name;
    std::vector<Change> input;
    std::vector<Change> resolved; ///< what the rules make of the input
    std::vector<std::string> warnings;
    std::optional<std::string> blocked{};
};

/// On a machine that can do neither 4K nor HEVC.
TEST(ExportPresetValidatorTests, FitsOrBlocksInTheOrderOfTheRules) {
    const std::string clamped = "FPS clamped to 120.";
    const std::string fullHD = "4K not supported on this machine; using 1080p fallback.";
    const std::string h264 = "HEVC is unavailable; falling back to H.264.";
    const std::string automaticRate = "Bitrate target was invalid; switching to auto bitrate.";
    const ExportCompatibilityConstraints anything;
    const std::vector<Case> cases{
        {"untouched", {}, {}, {}},
        {"fastest", {set(fps, 120)}, {}, {}},
        {"slowest", {set(fps, 1)}, {}, {}},
        {"too fast", {set(fps, 240)}, {set(fps, 120)}, {clamped}},
        {"endless", {set(fps, INFINITY)}, {set(fps, 120)}, {clamped}},
        {"no number", {set(fps, NAN)}, {set(fps, 1)}, {"FPS clamped to 1."}},
        {"2880 wide", {set(size, {2880, 2160})}, {}, {}},
        {"optional 4K", {set(size, {3840, 2160}), set(isOptional, true)}, {}, {}},
        {"optional 4K that requires it",
         {set(size, {2160, 3840}), set(aspect, ExportAspectPreset::vertical9x16), set(isOptional, true),
          set(compatibility, {.requires4KCapability = true})},
         {set(size, {1080, 1920}), set(isOptional, false), set(compatibility, anything)},
         {fullHD}},
        {"4K or nothing",
         {set(fps, 240), set(size, {3840, 2160}), set(container, ExportContainer::mov),
          set(compatibility, {.allowResolutionFallback = false})},
         {set(fps, 120)},
         {clamped},
         "4K export is not supported on this machine."},
        {"HEVC",
         {set(codec, ExportCodec::hevc), set(profile, hevcMain),
          set(compatibility, {.requiresHEVCCapability = true})},
         {set(codec, ExportCodec::h264), set(profile, h264High), set(compatibility, anything)},
         {h264}},
        {"HEVC with a profile of H.264",
         {set(codec, ExportCodec::hevc), set(profile, h264Main)},
         {set(codec, ExportCodec::h264)},
         {h264}},
        {"HEVC or nothing",
         {set(codec, ExportCodec::hevc), set(compatibility, {.allowCodecFallback = false})},
         {},
         {},
         "HEVC is not supported on this machine."},
        {"profile of the other codec",
         {set(profile, hevcMain)},
         {set(profile, h264High)},
         {"Video profile adjusted to H.264 High."}},
        {"a target just large enough", {set(bitrate, {constantMbps, 1.0, 0.1, 0.2})}, {}, {}},
        {"automatic with a bad target",
         {set(bitrate, {automatic, -5, NAN, {}})},
         {set(bitrate, {automatic, -5, 0, {}})},
         {}},
        {"all at once",
         {set(fps, 121), set(size, {4000, 4000}), set(aspect, ExportAspectPreset::square1x1),
          set(codec, ExportCodec::hevc), set(container, ExportContainer::mov),
          set(bitrate, {constrainedVBR, {}, 1, 2})},
         {set(fps, 120), set(size, {1080, 1080}), set(codec, ExportCodec::h264),
          set(container, ExportContainer::mp4), set(bitrate, {})},
         {clamped, fullHD, h264, "Container adjusted to MP4 for the current exporter.", automaticRate}},
    };
    const ExportPreset plain =
        ExportPreset::required1080p(ExportAspectPreset::horizontal16x9, ExportSpeedQualityMode::highQuality);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ExportPreset input = with(plain, c.input);
        auto result = ExportPresetValidator().validate(input, {});
        if (std::isnan(result.resolvedPreset.bitrate.minimumMbps.value_or(0))) {
            result.resolvedPreset.bitrate.minimumMbps = 0; // equal to itself
        }
        EXPECT_EQ(result.resolvedPreset, with(input, c.resolved));
        EXPECT_EQ(result.warnings, c.warnings);
        EXPECT_EQ(result.blockedReason, c.blocked);
        EXPECT_EQ(result.isAllowed(), !c.blocked);
    }
}

TEST(ExportPresetValidatorTests, HEVCCountsOnlyWhenSupported) {
    ExportPreset preset;
    preset.codec = ExportCodec::hevc;
    preset.profile = h264Baseline;
    const auto validated = [&](bool supported) {
        return ExportPresetValidator().validate(
            preset, {.gate = {true},
                     .codecs = {{ExportCodec::h264, "high", true}, {ExportCodec::hevc, "main", supported}}});
    };
    EXPECT_EQ(validated(true).resolvedPreset.profile, hevcMain);
    EXPECT_EQ(validated(true).warnings, std::vector<std::string>{"Video profile adjusted to HEVC Main."});
    EXPECT_EQ(validated(false).resolvedPreset.codec, ExportCodec::h264);
}

} // namespace
} // namespace tavrin
