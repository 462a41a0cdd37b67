#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

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

TEST_F(ExportPresetStoreTests, aDamagedFileStaysUntilTheNextWrite) {
    writeFileAtomically(file_, "garbage");
    testing::internal::CaptureStderr();
    EXPECT_THAT(ids(), ElementsAre());
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(
        log, HasSubstr("[TavrinKit.ExportPresetStore] readDocument.decodeCurrentSchema byteCount=7 error="));
    EXPECT_THAT(log, HasSubstr("[TavrinKit.ExportPresetStore] readDocument.decodeLegacySchema error="));
    EXPECT_EQ(readFile(file_), "garbage");
    int copies = 0;
    for (const auto& entry : fs::directory_iterator(folder_)) {
        const std::string name = entry.path().filename();
        if (entry.path() != file_) {
            EXPECT_THAT(name, testing::MatchesRegex("export-presets\\.corrupt-[0-9]{8}-[0-9]{6}\\.json"));
            EXPECT_EQ(readFile(entry.path()), "garbage");
            ++copies;
        }
    }
    EXPECT_EQ(copies, 1);
    store_.upsertCustomPreset(presetWith("1", "a"));
    EXPECT_THAT(ids(), ElementsAre("1"));
}

} // namespace
} // namespace tavrin
