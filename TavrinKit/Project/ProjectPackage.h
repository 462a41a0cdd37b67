#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "TavrinKit/Project/EditsDocument.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/ProjectManifest.h"

namespace tavrin {

struct ProjectPackageMigrationResult {
    bool migrated = false;
    std::optional<std::int64_t> fromVersion;
    std::int64_t toVersion = TavrinConstants::projectSchemaVersion;
    std::optional<std::filesystem::path> backupURL;

    friend bool operator==(const ProjectPackageMigrationResult&,
                           const ProjectPackageMigrationResult&) = default;
};

/// A recording on disk: one flat folder with a manifest, the movies and sounds of the take, its events and
/// its edits. The only type that knows the layout of that folder.
///
/// A value without open handles or locks; calls on one folder go one at a time. Each JSON file is written
/// whole or not at all. Besides what is named below, all operations let the errors of files (FileError)
/// and of decoding (JsonError) through.
class ProjectPackage {
public:
    /// Touches no file.
    ProjectPackage(std::filesystem::path rootURL, ProjectManifest manifest);

    /// Opens a package; one of schema 1 is migrated in place first.
    /// @return only what is sound: the manifest valid, every file that it names there
    /// @throws ProjectPackageValidationError
    [[nodiscard]] static ProjectPackage load(const std::filesystem::path& rootURL);

    /// Brings a package of schema 1 to schema 2: keeps the manifest as it was and links to the files in a
    /// new folder under ".migration-backups", then rewrites manifest, events and edits in the current form.
    /// A failure on the way leaves what has been done, the backup included.
    /// @throws ProjectPackageValidationError for any other version than 1 and 2; nothing is touched then
    static ProjectPackageMigrationResult migrateIfNeeded(const std::filesystem::path& rootURL);

    /// The schema version alone, also out of a manifest whose other keys can't be read. A number in a string
    /// will do.
    /// @throws ProjectPackageValidationError when there is none or it is no integer
    [[nodiscard]] static std::int64_t schemaVersionInManifestData(std::string_view text);

    /// Schema, file names and duplicates; the first fault that is found is thrown.
    /// @throws ProjectPackageValidationError
    static void validateManifest(const ProjectManifest& manifest,
                                 const std::set<std::int64_t>& supportedSchemas);

    /// A name must stay in the package's folder: neither empty nor with "..", "/" or "\" in it.
    /// @throws ProjectPackageValidationError
    static void validateFileName(const std::string& value, const std::string& field);

    [[nodiscard]] const std::filesystem::path& rootURL() const { return rootURL_; }
    [[nodiscard]] const ProjectManifest& manifest() const { return manifest_; }
    [[nodiscard]] ProjectManifest& manifest() { return manifest_; }

    [[nodiscard]] std::filesystem::path manifestURL() const;
    [[nodiscard]] std::filesystem::path screenURL() const;
    [[nodiscard]] std::filesystem::path eventsURL() const;
    [[nodiscard]] std::filesystem::path editsURL() const;
    [[nodiscard]] std::filesystem::path audioURL(const AudioTrackDescriptor& track) const;
    [[nodiscard]] std::filesystem::path cameraURL(const CameraTrackDescriptor& track) const;

    /// Creates the folder, with what is missing above it, if nothing is there.
    void createDirectoriesIfNeeded() const;

    void setAudioTracks(std::vector<AudioTrackDescriptor> tracks);
    void setCameraTracks(std::vector<CameraTrackDescriptor> tracks);

    /// @throws ProjectPackageValidationError before anything is written
    void saveManifest() const;
    void saveEvents(const EventTimeline& timeline) const;
    void saveEdits(const EditsDocument& document) const;

    /// @throws ProjectPackageValidationError when the manifest is of an unknown schema
    [[nodiscard]] EventTimeline loadEvents() const;
    [[nodiscard]] EditsDocument loadEdits() const;

    /// The manifest is valid, and every file that it names is a regular file that isn't empty. What is in
    /// the files isn't looked at.
    /// @throws ProjectPackageValidationError
    void validateIntegrity() const;

private:
    std::filesystem::path rootURL_;
    ProjectManifest manifest_;
};

} // namespace tavrin
