#include <filesystem>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Library/BrandKitStore.h"
#include "TavrinKit/Library/BrandKitStoreError.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

class BrandKitStoreTests : public testing::Test {
protected:
    [[nodiscard]] std::vector<std::string> names() {
        std::vector<std::string> result;
        for (const BrandKitPreset& kit : store_.loadPresets()) {
            result.push_back(kit.name);
        }
        return result;
    }

    [[nodiscard]] BrandKitStore::BrandKitLibraryDocument document() const {
        return decodeDocument<BrandKitStore::BrandKitLibraryDocument>(readFile(file_));
    }

    void write(std::string_view text) {
        createDirectories(file_.parent_path());
        writeFileAtomically(file_, text);
    }

    const test::TemporaryFolder temporary_;
    const fs::path& folder_ = temporary_.path();
    fs::path file_ = folder_ / "deep/brand-kits.json";
    Date now_ = *parseISO8601("2026-01-15T10:15:30Z");
    BrandKitStore store_{file_, [this] {
                             return now_;
                         }};
    TimelineModel timeline_ = PremiumDefaults::timelineModel();
};

TEST_F(BrandKitStoreTests, isNeverEmpty) {
    const auto first = store_.loadPresets();
    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(first[0], (BrandKitPreset{first[0].id, "Default", timeline_.cursorTrack.style,
                                        timeline_.typingTrack.style, timeline_.framingTrack.style,
                                        timeline_.watermarkTrack.style, now_, now_, "system"}));
    EXPECT_EQ(store_.loadPresets(), first);
    const auto afterDelete = store_.deletePreset(first[0].id);
    EXPECT_NE(afterDelete.at(0).id, first[0].id);
    for (const char* nothing : {"", "[]", R"({"schemaVersion": 7, "presets": []})"}) {
        write(nothing);
        EXPECT_THAT(names(), ElementsAre("Default"));
        EXPECT_EQ(document().schemaVersion, 1);
    }
}

TEST_F(BrandKitStoreTests, operationsChangeWhatTheySayAndKeepTheVersion) {
    BrandKitPreset old = BrandKitPreset::from(timeline_, "Old", " me\n", now_);
    write(encodeDocument(BrandKitStore::BrandKitLibraryDocument{5, {old}}));
    now_ += std::chrono::seconds(1);
    timeline_.watermarkTrack.style.text = "mine";
    const BrandKitPreset blank = store_.savePresetFromTimeline(" \n", timeline_, " ");
    EXPECT_EQ(blank.name, "Untitled Brand Kit");
    EXPECT_EQ(blank.author, "local");
    now_ += std::chrono::seconds(1);
    const BrandKitPreset copy = store_.duplicatePreset(old.id);
    EXPECT_THAT(names(), ElementsAre("Old Copy", "Untitled Brand Kit", "Old"));
    EXPECT_EQ(copy.author, "me");
    EXPECT_EQ(copy.createdAt, now_);
    now_ += std::chrono::seconds(1);
    const BrandKitPreset renamed = store_.renamePreset(old.id, " New ");
    EXPECT_THAT(names(), ElementsAre("New", "Old Copy", "Untitled Brand Kit"));
    old.name = "New";
    old.updatedAt = now_;
    EXPECT_EQ(renamed, old);
    EXPECT_EQ(document().schemaVersion, 5);

    EXPECT_THROW(store_.renamePreset(UUID::make(), "x"), BrandKitStoreError);
    EXPECT_THROW(static_cast<void>(store_.applyPreset(UUID::make(), {})), BrandKitStoreError);

    TimelineModel other;
    other.zoomTrack.segments.resize(2);
    TimelineModel applied = store_.applyPreset(blank.id, other);
    EXPECT_EQ(BrandKitPreset::from(applied, "", "", now_).watermarkStyle, blank.watermarkStyle);
    EXPECT_EQ(BrandKitPreset::from(other, "", "", now_).applying(applied), other);
    EXPECT_THAT(store_.resetToDefaults(), testing::SizeIs(1));
}

TEST_F(BrandKitStoreTests, keepsACopyOfADamagedFileAndGoesOn) {
    BrandKitPreset kit = BrandKitPreset::from(timeline_, "Kit", "", now_);
    Json incomplete;
    encode(incomplete, kit);
    incomplete.erase("author");
    const std::string damaged[] = {"no JSON", std::string(100'000, '['), R"({"presets": []})",
                                   encodeJson(Json::array({incomplete})), std::string(65 << 20, ' ')};
    const fs::path copy = file_.parent_path() / ("brand-kits.corrupt-" + timestampLabel(now_) + ".json");
    for (const std::string& text : damaged) {
        write(text);
        testing::internal::CaptureStderr();
        const auto loaded = store_.loadPresets();
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(loaded.at(0).name, "Default");
        EXPECT_TRUE(readFile(copy) == text);
        EXPECT_EQ(document().presets, loaded);
        for (const char* form : {"Current", "Legacy"}) {
            EXPECT_THAT(log, HasSubstr(std::string("[TavrinKit.BrandKitStore] readDocument.decode") + form +
                                       "Schema byteCount=" + std::to_string(text.size()) + " error="));
        }
    }
    // The legacy form isn't damage, and the next write turns it into the current one.
    write(encodeDocument(std::vector{kit, kit}));
    testing::internal::CaptureStderr();
    EXPECT_EQ(store_.loadPresets().size(), 2U);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    store_.savePresetFromTimeline("New", timeline_, "");
    EXPECT_EQ(document().presets.size(), 3U);
}

TEST_F(BrandKitStoreTests, whatCannotBeReadIsAnErrorAndNotDamage) {
    fs::create_directories(file_);
    EXPECT_THROW(static_cast<void>(store_.loadPresets()), FileError);
    fs::remove_all(folder_);
    writeFileAtomically(folder_, "a file where the folder should be");
    EXPECT_THROW(static_cast<void>(store_.loadPresets()), FileError);
}

TEST_F(BrandKitStoreTests, callsFromManyThreadsLoseNothing) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 8; ++k) {
                store_.savePresetFromTimeline("Kit", timeline_, "");
            }
        });
    }
    threads.clear();
    EXPECT_EQ(store_.loadPresets().size(), 32U);
}

} // namespace
} // namespace tavrin
