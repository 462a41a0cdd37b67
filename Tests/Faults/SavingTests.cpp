#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fixtures/FaultDriver.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::test {
namespace {

namespace fs = std::filesystem;

/// Something that saves one file.
struct Saving {
    std::string name;
    std::string file;
    std::function<void(const fs::path& folder)> saveOld;
    std::function<void(const fs::path& folder)> saveNew;
};

void PrintTo(const Saving& saving, std::ostream* stream) {
    *stream << saving.name;
}

ProjectPackage packageIn(const fs::path& folder, const std::string& screen) {
    ProjectManifest manifest;
    manifest.createdAt = *parseISO8601("2026-01-15T10:15:30Z");
    manifest.screenFileName = screen;
    return ProjectPackage(folder, manifest);
}

std::vector<Saving> savings() {
    std::vector<Saving> all;
    all.push_back({"manifest", "manifest.json",
                   [](const fs::path& folder) { packageIn(folder, "old.mov").saveManifest(); },
                   [](const fs::path& folder) {
                       packageIn(folder, "new.mov").saveManifest();
                   }});
    all.push_back({"edits", "edits.json",
                   [](const fs::path& folder) { packageIn(folder, "a").saveEdits({}); },
                   [](const fs::path& folder) {
                       packageIn(folder, "a").saveEdits({PremiumDefaults::timelineModel(), {}, {}});
                   }});
    return all;
}

class SavingTests : public testing::TestWithParam<Saving> {};

TEST_P(SavingTests, leavesOldOrNewWhateverCallGoesWrong) {
    const Saving saving = GetParam();
    const TemporaryFolder outer;
    const fs::path folder = outer.path() / "f";
    const fs::path file = folder / saving.file;
    const fs::path backup = outer.path() / "backup";
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

INSTANTIATE_TEST_SUITE_P(All, SavingTests, testing::ValuesIn(savings()),
                         [](const auto& saving) { return saving.param.name; });

} // namespace
} // namespace tavrin::test
