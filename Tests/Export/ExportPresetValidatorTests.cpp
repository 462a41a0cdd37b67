#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Export/ExportPresetValidator.h"

namespace tavrin {
namespace {

using enum ExportVideoProfile;
using Change = std::function<void(ExportPreset&)>;

ExportPreset with(ExportPreset preset, const Change& change) {
    if (change) {
        change(preset);
    }
    return preset;
}

struct Case {
    const char* name;
    Change input;
    Change resolved; ///< what the rules make of the input
    std::vector<std::string> warnings;
    std::optional<std::string> blocked{};
};

/// On a machine that can do neither 4K nor HEVC.
TEST(ExportPresetValidatorTests, FitsOrBlocksInTheOrderOfTheRules) {
    const std::string clamped = "FPS clamped to 120.";
    const std::string fullHD = "4K not supported on this machine; using 1080p fallback.";
    const std::string h264 = "HEVC is unavailable; falling back to H.264.";
    const std::string bitrate = "Bitrate target was invalid; switching to auto bitrate.";
    const auto no4K = [](ExportPreset& p) {
        p.compatibility.allowResolutionFallback = false;
    };
    const std::vector<Case> cases{
        {"untouched", {}, {}, {}},
        {"fastest", [](auto& p) { p.fps = 120; }, {}, {}},
        {"slowest", [](auto& p) { p.fps = 1; }, {}, {}},
        {"too fast", [](auto& p) { p.fps = 240; }, [](auto& p) { p.fps = 120; }, {clamped}},
        {"endless", [](auto& p) { p.fps = INFINITY; }, [](auto& p) { p.fps = 120; }, {clamped}},
        {"no number", [](auto& p) { p.fps = NAN; }, [](auto& p) { p.fps = 1; }, {"FPS clamped to 1."}},
        {"2880 wide",
         [](auto& p) {
             p.resolution = {2880, 2160};
         },
         {},
         {}},
        {"optional 4K",
         [](auto& p) {
             p.resolution = {3840, 2160};
             p.isOptional = true;
         },
         {},
         {}},
        {"optional 4K that requires it",
         [](auto& p) {
             p.resolution = {2160, 3840};
             p.aspect = ExportAspectPreset::vertical9x16;
             p.isOptional = p.compatibility.requires4KCapability = true;
         },
         [](auto& p) {
             p.resolution = {1080, 1920};
             p.isOptional = p.compatibility.requires4KCapability = false;
         },
         {fullHD}},
        {"4K or nothing",
         [&](auto& p) {
             p.fps = 240;
             p.resolution = {3840, 2160};
             p.container = ExportContainer::mov;
             no4K(p);
         },
         [](auto& p) { p.fps = 120; },
         {clamped},
         "4K export is not supported on this machine."},
        {"HEVC",
         [](auto& p) {
             p.codec = ExportCodec::hevc;
             p.profile = hevcMain;
             p.compatibility.requiresHEVCCapability = true;
         },
         [](auto& p) {
             p.codec = ExportCodec::h264;
             p.profile = h264High;
             p.compatibility.requiresHEVCCapability = false;
         },
         {h264}},
        {"HEVC with a profile of H.264",
         [](auto& p) {
             p.codec = ExportCodec::hevc;
             p.profile = h264Main;
         },
         [](auto& p) { p.codec = ExportCodec::h264; },
         {h264}},
        {"HEVC or nothing",
         [](auto& p) {
             p.codec = ExportCodec::hevc;
             p.compatibility.allowCodecFallback = false;
         },
         {},
         {},
         "HEVC is not supported on this machine."},
        {"profile of the other codec",
         [](auto& p) { p.profile = hevcMain; },
         [](auto& p) { p.profile = h264High; },
         {"Video profile adjusted to H.264 High."}},
        {"a target just large enough",
         [](auto& p) {
             p.bitrate = {ExportBitrateStrategy::constantMbps, 1.0, 0.1, 0.2};
         },
         {},
         {}},
        {"automatic with a bad target",
         [](auto& p) {
             p.bitrate = {ExportBitrateStrategy::automatic, -5, NAN, {}};
         },
         [](auto& p) { p.bitrate.minimumMbps = 0; },
         {}},
        {"all at once",
         [](auto& p) {
             p.fps = 121;
             p.resolution = {4000, 4000};
             p.aspect = ExportAspectPreset::square1x1;
             p.codec = ExportCodec::hevc;
             p.container = ExportContainer::mov;
             p.bitrate = {ExportBitrateStrategy::constrainedVBR, {}, 1, 2};
         },
         [](auto& p) {
             p.fps = 120;
             p.resolution = {1080, 1080};
             p.codec = ExportCodec::h264;
             p.container = ExportContainer::mp4;
             p.bitrate = {};
         },
         {clamped, fullHD, h264, "Container adjusted to MP4 for the current exporter.", bitrate}},
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
