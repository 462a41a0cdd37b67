#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TavrinKit/Project/ExportPreset.h"

namespace tavrin {
namespace {

TEST(ExportPresetTests, BuiltInsAreTheSameOnEveryMachineAndSurviveJson) {
    const std::vector<std::string> identifiers{
        "builtin|1080p|horizontal16x9|1920x1080|60.00|h264|highquality",
        "builtin|1080p|vertical9x16|1080x1920|60.00|h264|highquality",
        "builtin|1080p|square1x1|1080x1080|60.00|h264|highquality",
        "builtin|1080p|horizontal4x3|1440x1080|60.00|h264|highquality",
        "builtin|1080p|vertical3x4|1080x1440|60.00|h264|highquality",
    };
    const std::vector<ExportPreset> presets = PremiumDefaults::defaultExportPresets({});
    EXPECT_EQ(presets, PremiumDefaults::defaultExportPresets(
                           {16, 64, {true}, {{ExportCodec::hevc, "main", true, true}}}));
    ASSERT_EQ(presets.size(), identifiers.size());
    for (std::size_t i = 0; i < presets.size(); ++i) {
        EXPECT_EQ(presets[i].id, identifiers[i]);
        EXPECT_EQ(decodeDocument<ExportPreset>(encodeDocument(presets[i])), presets[i]);
    }
    const ExportPreset preview =
        ExportPreset::required1080p(ExportAspectPreset::square1x1, ExportSpeedQualityMode::fastPreview);
    EXPECT_EQ(preview.bitrate, (ExportBitrateProfile{ExportBitrateStrategy::constrainedVBR, 10, 6, 14}));
    EXPECT_EQ(default4KResolution(ExportAspectPreset::vertical3x4), (ExportResolution{2160, 2880}));
}

TEST(ExportPresetTests, MissingKeysReadAsDefaultsAndTheIdentifierFollowsTheValuesAsRead) {
    struct Case {
        std::string json;
        std::string id;
        ExportVideoProfile profile;
        double fps;
    };
    using enum ExportVideoProfile;
    const std::vector<Case> cases{
        {R"({})", "builtin|custom|horizontal16x9|1920x1080|60.00|h264|highquality", h264High, 60},
        {R"({"codec": "hevc"})", "builtin|custom|horizontal16x9|1920x1080|60.00|hevc|highquality", hevcMain,
         60},
        {R"({"codec": "hevc", "profile": "h264Main"})",
         "builtin|custom|horizontal16x9|1920x1080|60.00|hevc|highquality", h264Main, 60},
        {R"({"fps": 0.5})", "builtin|custom|horizontal16x9|1920x1080|0.50|h264|highquality", h264High, 1},
        {R"({"name": "My Ä  Preset", "category": "custom", "mode": "fastPreview"})",
         "custom|my-ä--preset|horizontal16x9|1920x1080|60.00|h264|fastpreview", h264High, 60},
        {R"({"aspect": "square1x1", "resolution": {"width": 720, "height": 700}, "fps": 29.976, "id": null})",
         "builtin|custom|square1x1|720x700|29.98|h264|highquality", h264High, 29.976},
        {R"({"id": "mine", "fps": 24, "unknown": [1]})", "mine", h264High, 24},
    };
    for (const Case& c : cases) {
        const auto preset = decodeDocument<ExportPreset>(c.json);
        EXPECT_EQ(preset.id, c.id) << c.json;
        EXPECT_EQ(preset.profile, c.profile) << c.json;
        EXPECT_EQ(preset.fps, c.fps) << c.json;
    }
    ExportPreset plain = decodeDocument<ExportPreset>("{}");
    plain.id.clear();
    EXPECT_EQ(plain, ExportPreset());
}

TEST(ExportPresetTests, BrokenPresetsTellWhere) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {R"([])", ""},
        {R"({"fps": "60"})", "fps"},
        {R"({"codec": "av1"})", "codec"},
        {R"({"resolution": {"width": 1}})", "resolution.height"},
        {R"({"bitrate": {"targetMbps": 3}})", "bitrate.strategy"},
        {R"({"bitrate": {"strategy": "automatic"}})", "bitrate.strategy"},
        {R"({"audio": {"sampleRateHz": 48000, "channels": 2}})", "audio.bitrateKbps"},
        {R"({"compatibility": {}})", "compatibility.requires4KCapability"},
    };
    for (const auto& [json, path] : cases) {
        try {
            static_cast<void>(decodeDocument<ExportPreset>(json));
            ADD_FAILURE() << json;
        } catch (const JsonError& error) {
            EXPECT_EQ(error.path(), path) << json;
        }
    }
}

} // namespace
} // namespace tavrin
