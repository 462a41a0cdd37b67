#include <filesystem>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class ExportPresetStoreTests : public testing::Test {
protected:
    static ExportPreset presetWith(const std::string& id, const std::string& name) {
        ExportPreset preset;
        preset.id = id;
        preset.name = name;
        return preset;
    }

    [[nodiscard]] std::vector<std::string> ids() const {
        std::vector<std::string> result;
        for (const ExportPreset& preset : store_.customPresets()) {
            result.push_back(preset.id);
        }
        return result;
    }

    [[nodiscard]] ExportPresetStore::Document document() const {
        return decodeDocument<ExportPresetStore::Document>(readFile(file_));
    }

    const test::TemporaryFolder temporary_;
    const fs::path& folder_ = temporary_.path();
    fs::path file_ = folder_ / "export-presets.json";
    ExportPresetStore store_{file_};
};

TEST_F(ExportPresetStoreTests, replacesInPlaceAndListsByName) {
    EXPECT_THAT(ids(), ElementsAre());
    EXPECT_FALSE(fs::exists(file_));
    ExportPreset preset = presetWith("1", "b");
    preset.isOptional = true;
    store_.upsertCustomPreset(preset);
    store_.upsertCustomPreset(presetWith("2", "a"));
    preset.fps = 24;
    store_.upsertCustomPreset(preset);
    EXPECT_THAT(ids(), ElementsAre("2", "1"));
    ASSERT_EQ(document().customPresets.size(), 2U);
    const ExportPreset stored = document().customPresets[0];
    EXPECT_EQ(stored.category, ExportPresetCategory::custom);
    EXPECT_FALSE(stored.isOptional);
    EXPECT_EQ(stored.fps, 24);

    const std::string before = readFile(file_);
    store_.deleteCustomPreset("unknown");
    EXPECT_EQ(readFile(file_), before);

    writeFileAtomically(file_, encodeDocument(std::vector{presetWith("x", "1"), presetWith("y", "2"),
                                                          presetWith("x", "3")})); // the older form
    EXPECT_THAT(ids(), ElementsAre("x", "y", "x"));
    store_.deleteCustomPreset("x");
    EXPECT_EQ(document(), (ExportPresetStore::Document{2, {presetWith("y", "2")}}));
}

/// What older files leave out follows from what they have, the identifier too.
TEST_F(ExportPresetStoreTests, missingKeysReadAsDefaults) {
    using enum ExportVideoProfile;
    const std::tuple<const char*, const char*, ExportVideoProfile, double> cases[] = {
        {R"({})", "builtin|custom|horizontal16x9|1920x1080|60.00|h264|highquality", h264High, 60},
        {R"({"codec": "hevc", "profile": "h264Main"})",
         "builtin|custom|horizontal16x9|1920x1080|60.00|hevc|highquality", h264Main, 60},
        {R"({"codec": "hevc", "fps": 0.5})", "builtin|custom|horizontal16x9|1920x1080|0.50|hevc|highquality",
         hevcMain, 1},
        {R"({"name": "My Ä  Preset", "category": "custom", "mode": "fastPreview", "fps": 29.976})",
         "custom|my-ä--preset|horizontal16x9|1920x1080|29.98|h264|fastpreview", h264High, 29.976},
    };
    for (const auto& [json, id, profile, fps] : cases) {
        const auto preset = decodeDocument<ExportPreset>(json);
        EXPECT_EQ(preset.id, id);
        EXPECT_EQ(preset.profile, profile) << json;
        EXPECT_EQ(preset.fps, fps) << json;
    }
}

} // namespace
} // namespace tavrin
