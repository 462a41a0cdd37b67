#include <cerrno>
#include <filesystem>
#include <system_error>

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
void expectSoundBackups(const fs::path& backups, const fs::path& original) {
    std::error_code none;
    for (const auto& entry : fs::recursive_directory_iterator(backups, none)) {
        if (entry.is_regular_file() && entry.path().extension() != ".tmp") {
            EXPECT_EQ(readFile(entry.path()), readFile(original / entry.path().filename())) << entry.path();
        }
    }
}

TEST(MigrationFaultTests, thePackageOpensTheNextTimeAndTheBackupIsSound) {
    const TemporaryFolder outer;
    const fs::path root = outer / "package";
    const fs::path backups = root / ".migration-backups";
    const fs::path original = outer / "original";
    makeOldPackage(root);
    fs::copy(root, original);
    const auto open = [&] {
        return ProjectPackage::load(root);
    };
    const FaultPlan plans[] = {{.below = root, .kind = FaultKind::kill},
                               {.below = root, .kind = FaultKind::fail, .error = EIO}};
    for (const FaultPlan& plan : plans) {
        const std::size_t faults = forEveryCall(
            plan, [&] { makeOldPackage(root); },
            [&] {
                static_cast<void>(open());
                return std::string("opened");
            },
            [&](const FaultedRun& run) {
                SCOPED_TRACE(run.victim);
                EXPECT_FALSE(run.isHanging);
                expectSoundBackups(backups, original);
                fs::remove_all(backups); // a second one within the second would be refused
                const ProjectPackage package = open();
                EXPECT_EQ(package.manifest().schemaVersion, 2);
                EXPECT_EQ(package.loadEvents(), events);
                EXPECT_EQ(package.loadEdits(), edits);
                EXPECT_EQ(readFile(package.screenURL()), "pictures");
                expectSoundBackups(backups, original);
            });
        EXPECT_GE(faults, 20U);
    }
}

} // namespace
} // namespace tavrin::test
