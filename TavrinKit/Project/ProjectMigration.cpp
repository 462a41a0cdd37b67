#include "TavrinKit/Project/ProjectMigration.h"

#include <set>

#include "TavrinKit/Project/ProjectFiles.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Project/ProjectPackageValidationError.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {

namespace fs = std::filesystem;

namespace {

bool isThere(const fs::path& path) {
    std::error_code unreachable;
    return fs::exists(path, unreachable);
}

} // namespace

fs::path createMigrationBackup(const fs::path& rootURL, const ProjectManifest& manifest,
                               std::string_view manifestData) {
    const fs::path backups = rootURL / ".migration-backups";
    createDirectories(backups);
    const fs::path folder = backups / ("v1-" + timestampLabel(currentDate()));
    createNewDirectory(folder);
    writeFileAtomically(folder / "manifest.json", manifestData);

    std::set<std::string> names{manifest.screenFileName, manifest.eventsFileName, manifest.editsFileName};
    for (const AudioTrackDescriptor& track : manifest.audioTracks) {
        names.insert(track.fileName);
    }
    for (const CameraTrackDescriptor& track : manifest.cameraTracks) {
        names.insert(track.fileName);
    }
    for (const std::string& name : names) {
        if (isThere(rootURL / name)) {
            linkOrCopyFile(rootURL / name, folder / name);
        }
    }
    return folder;
}

ProjectPackageMigrationResult ProjectPackage::migrateIfNeeded(const fs::path& rootURL) {
    constexpr std::int64_t current = TavrinConstants::projectSchemaVersion;
    const fs::path manifestURL = rootURL / "manifest.json";
    const std::string manifestData = readManifestFile(manifestURL);
    const std::int64_t version = schemaVersionInManifestData(manifestData);
    if (version == current) {
        return {};
    }
    if (version != 1) {
        throw ProjectPackageValidationError::unsupportedSchemaVersion(version, current);
    }
    ProjectPackage package(rootURL, decodeDocument<ProjectManifest>(manifestData));
    validateManifest(package.manifest(), {1, current});
    const fs::path backup = createMigrationBackup(rootURL, package.manifest(), manifestData);

    package.manifest().schemaVersion = current;
    writeManifestFile(manifestURL, package.manifest());
    if (isThere(package.eventsURL())) {
        package.saveEvents(package.loadEvents());
    }
    if (isThere(package.editsURL())) {
        package.saveEdits(package.loadEdits());
    }
    return {.migrated = true, .fromVersion = version, .toVersion = current, .backupURL = backup};
}

} // namespace tavrin
