#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>

#include "Fixtures/FaultDriver.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::test {
namespace {

namespace fs = std::filesystem;

const EventTimeline events({{1.5, {0.25, 0.75}, MouseEventKind::clicked, 0}});
const EditsDocument edits{PremiumDefaults::timelineModel(), {}, {}};

void makeOldPackage(const fs::path& root) {
    fs::remove_all(root);
    ProjectManifest manifest;
    manifest.schemaVersion = 1;
    manifest.createdAt = Date();
    const ProjectPackage package(root, manifest);
    package.createDirectoriesIfNeeded();
    package.saveManifest();
    package.saveEvents(events);
    package.saveEdits(edits);
    writeFileAtomically(package.screenURL(), "pictures");
    // Older programs left out what is usual, and the migration writes it down.
    Json json = parseJson(readFile(package.editsURL()));
    json.erase("audioRouting");
    writeFileAtomically(package.editsURL(), json.dump());
}

/// Every file that is in a backup is as it was before the migration.
void expectSoundBackups(const fs::path& root, const fs::path& original) {
    for (const auto& entry : fs::recursive_directory_iterator(root / ".migration-backups")) {
        if (entry.is_regular_file() && entry.path().extension() != ".tmp") {
            EXPECT_EQ(readFile(entry.path()), readFile(original / entry.path().filename())) << entry.path();
        }
    }
}

class MigrationFaultTests : public testing::TestWithParam<FaultPlan> {};

TEST_P(MigrationFaultTests, thePackageOpensTheNextTimeAndTheBackupIsSound) {
    const TemporaryFolder outer;
    const fs::path root = outer / "package";
    const fs::path original = outer / "original";
    makeOldPackage(root);
    fs::copy(root, original);
    FaultPlan plan = GetParam();
    plan.below = root;
    const std::size_t faults = forEveryCall(
        plan, [&] { makeOldPackage(root); },
        [&] {
            static_cast<void>(ProjectPackage::load(root));
            return std::string("opened");
        },
        [&](const FaultedRun& run) {
            SCOPED_TRACE(run.victim);
            EXPECT_FALSE(run.isHanging);
            const fs::path backups = root / ".migration-backups";
            if (fs::exists(backups)) {
                expectSoundBackups(root, original);
                fs::rename(backups,
                           outer.path() / "earlier"); // or a second within the second would be refused
            }
            const ProjectPackage package = ProjectPackage::load(root);
            EXPECT_EQ(package.manifest().schemaVersion, 2);
            EXPECT_EQ(package.loadEvents(), events);
            EXPECT_EQ(package.loadEdits(), edits);
            EXPECT_EQ(readFile(package.screenURL()), "pictures");
            if (fs::exists(outer / "earlier")) {
                fs::create_directories(backups);
                fs::rename(outer / "earlier", backups / "earlier");
            }
            expectSoundBackups(root, original);
        });
    EXPECT_GE(faults, 20U);
}

INSTANTIATE_TEST_SUITE_P(All, MigrationFaultTests,
                         testing::Values(FaultPlan{.kind = FaultKind::kill},
                                         FaultPlan{.kind = FaultKind::fail, .error = EIO}));

} // namespace
} // namespace tavrin::test
