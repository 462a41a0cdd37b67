#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <locale>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fixtures/FaultDriver.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Library/BrandKitStore.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::test {
namespace {

namespace fs = std::filesystem;

/// A file that the engine saves, and two contents for it. All saving is done with fixed ids and dates.
struct SavedFile {
    std::string name;
    std::string file;
    std::function<void(const fs::path& folder)> saveOld;
    std::function<void(const fs::path& folder)> saveNew;
};

void PrintTo(const SavedFile& saved, std::ostream* stream) {
    *stream << saved.name;
}

const Date date = *parseISO8601("2026-01-15T10:15:30Z");

ProjectPackage packageIn(const fs::path& folder) {
    ProjectManifest manifest;
    manifest.createdAt = date;
    return ProjectPackage(folder, manifest);
}

void savePreset(const fs::path& folder, const std::string& name) {
    ExportPreset preset;
    preset.name = name;
    preset.fps = 1234567.891;
    preset.bitrate = {ExportBitrateStrategy::constantMbps, 1234.5, {}, 1e-7};
    preset.id = preset.generatedIdentifier();
    ExportPresetStore(folder / "export-presets.json").upsertCustomPreset(preset);
}

/// Kits of one second, so that their names say in which order the file has them.
void saveKits(const fs::path& folder) {
    BrandKitStore::BrandKitLibraryDocument document;
    for (const char* name : {"zebra", "Öl", "apfel"}) {
        BrandKitPreset& kit = document.presets.emplace_back(
            BrandKitPreset::from(PremiumDefaults::timelineModel(), name, "a", date));
        kit.id = UUID{};
        kit.id.bytes.back() = std::uint8_t(document.presets.size());
        kit.cursorStyle.sizeMultiplier = 1234567.5;
    }
    writeFileAtomically(folder / "brand-kits.json", encodeDocument(document));
}

void renameKit(const fs::path& folder) {
    UUID second;
    second.bytes.back() = 2;
    BrandKitStore(folder / "brand-kits.json", [] { return date; }).renamePreset(second, "ärger");
}

/// The edits, the manifest, the events and every store.
std::vector<SavedFile> savedFiles() {
    return {
        {"manifest", "manifest.json", [](const fs::path& folder) { packageIn(folder).saveManifest(); },
         [](const fs::path& folder) {
             ProjectPackage package = packageIn(folder);
             package.setCameraTracks({{"camera.mov", 1234.5, -1e-7}});
             package.saveManifest();
         }},
        {"events", "events.json", [](const fs::path& folder) { packageIn(folder).saveEvents({}); },
         [](const fs::path& folder) {
             packageIn(folder).saveEvents(
                 EventTimeline({{1234567.5, {0.25, 1e-9}, MouseEventKind::clicked, 1234567}},
                               {{.timestamp = 0.1, .displayText = "ä"}}));
         }},
        {"edits", "edits.json", [](const fs::path& folder) { packageIn(folder).saveEdits({}); },
         [](const fs::path& folder) {
             EditsDocument edits{PremiumDefaults::timelineModel(), {}, {}};
             edits.timeline.trimRange = ClipTimeRange{0.1, 1234567.5};
             packageIn(folder).saveEdits(edits);
         }},
        {"presets", "export-presets.json", [](const fs::path& folder) { savePreset(folder, "Öl"); },
         [](const fs::path& folder) {
             savePreset(folder, "apfel");
         }},
        {"brandKits", "brand-kits.json", saveKits, renameKit},
    };
}

class SavingTests : public testing::TestWithParam<SavedFile> {};

TEST_P(SavingTests, leavesOldOrNewWhateverCallGoesWrong) {
    const SavedFile saving = GetParam();
    const TemporaryFolder outer;
    const fs::path folder = outer / "f";
    const fs::path file = folder / saving.file;
    const fs::path backup = outer / "backup";
    const auto prepare = [&] {
        fs::remove_all(folder);
        fs::remove(backup);
        fs::create_directories(folder);
        saving.saveOld(folder);
        fs::create_hard_link(file, backup);
    };
    prepare();
    const std::string old = readFile(file);
    saving.saveNew(folder);
    const std::string fresh = readFile(file);
    ASSERT_NE(old, fresh);

    const FaultPlan plans[] = {
        {.below = folder, .kind = FaultKind::kill},
        {.below = folder, .kind = FaultKind::fail, .error = EIO},
        {.below = folder, .kind = FaultKind::fail, .error = EACCES},
        {.below = folder, .calls = spaceTakingCalls, .error = ENOSPC, .isLasting = true},
    };
    for (const FaultPlan& plan : plans) {
        const bool isKill = plan.kind == FaultKind::kill;
        const std::size_t faults = forEveryCall(
            plan, prepare,
            [&] {
                saving.saveNew(folder);
                return std::string("saved");
            },
            [&](const FaultedRun& run) {
                SCOPED_TRACE(run.victim);
                const std::string left = readFile(file);
                EXPECT_TRUE(left == old || left == fresh) << left;
                EXPECT_EQ(readFile(backup), old);
                EXPECT_FALSE(run.isHanging);
                if (!isKill) {
                    EXPECT_NE(run.result.has_value(), run.escaped.has_value());
                    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
                }
                if (run.result) {
                    EXPECT_EQ(left, fresh);
                } else if (!isKill) {
                    EXPECT_EQ(left, old);
                }
            });
        EXPECT_GE(faults, 4U) << "a temporary file, its contents, a flush, a rename";
    }
}

INSTANTIATE_TEST_SUITE_P(All, SavingTests, testing::ValuesIn(savedFiles()),
                         [](const auto& saving) { return saving.param.name; });

/// Saves all files in a process that lives in a locale. @return how it writes a number
std::string saveIn(const char* locale, const fs::path& folder) {
    return runWithFault({.below = folder},
                        [&] {
                            ::setenv("LOCPATH", LOCALES, 1);
                            ::setenv("LC_ALL", locale, 1);
                            ::setenv("LANG", locale, 1);
                            if (std::setlocale(LC_ALL, "") == nullptr) {
                                return std::string("no such locale");
                            }
                            std::locale::global(std::locale(""));
                            for (const SavedFile& saved : savedFiles()) {
                                saved.saveOld(folder);
                                saved.saveNew(folder);
                            }
                            return std::to_string(1.5);
                        })
        .result.value_or("failed");
}

TEST(LocaleTests, savedFilesAreTheSameToTheByteWhateverTheLocale) {
    const TemporaryFolder plain;
    const TemporaryFolder german;
    ASSERT_EQ(saveIn("C", plain.path()), "1.500000");
    ASSERT_EQ(saveIn("de_DE.UTF-8", german.path()), "1,500000");
    for (const SavedFile& saved : savedFiles()) {
        EXPECT_EQ(readFile(plain.path() / saved.file), readFile(german.path() / saved.file));
    }
}

} // namespace
} // namespace tavrin::test
