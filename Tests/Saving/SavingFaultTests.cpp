#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "Fixtures/FaultDriver.h"
#include "Fixtures/TemporaryFolder.h"
#include "SavedFiles.h"
#include "TavrinKit/Library/BrandKitStore.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::test {

void PrintTo(const SavedFile& saved, std::ostream* stream) {
    *stream << saved.name;
}

namespace {

namespace fs = std::filesystem;

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
        {.below = folder, .kind = FaultKind::failAfter, .error = EIO},
        {.below = folder, .kind = FaultKind::shorten, .isLasting = true},
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
                } else if (!isKill && plan.kind != FaultKind::failAfter) {
                    EXPECT_EQ(left, old);
                }
            });
        EXPECT_GE(faults, 4U) << "a temporary file, its contents, a flush, a rename";
    }
}

TEST(DamagedStoreTests, aKillLosesNothingOfADamagedFile) {
    const TemporaryFolder outer;
    const fs::path folder = outer / "f";
    const std::string damaged = "{\"presets\": [";
    const auto load = [&] {
        return BrandKitStore(folder / "brand-kits.json").loadPresets().at(0).name;
    };
    forEveryCall(
        {.below = folder, .kind = FaultKind::kill},
        [&] {
            fs::remove_all(folder);
            fs::create_directories(folder);
            writeFileAtomically(folder / "brand-kits.json", damaged);
        },
        load,
        [&](const FaultedRun& run) {
            SCOPED_TRACE(run.victim);
            bool isKept = false;
            for (const auto& entry : fs::directory_iterator(folder)) {
                isKept = isKept || (entry.path().extension() == ".json" && readFile(entry.path()) == damaged);
            }
            EXPECT_TRUE(isKept);
            EXPECT_EQ(load(), "Default");
        });
}

INSTANTIATE_TEST_SUITE_P(All, SavingTests, testing::ValuesIn(savedFiles()),
                         [](const auto& saving) { return saving.param.name; });

} // namespace
} // namespace tavrin::test
