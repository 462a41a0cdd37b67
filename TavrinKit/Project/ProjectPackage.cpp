#include "TavrinKit/Project/ProjectPackage.h"

#include <charconv>

#include "TavrinKit/Project/EventTimelineFile.h"
#include "TavrinKit/Project/ProjectPackageValidationError.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;
using ValidationError = ProjectPackageValidationError;

constexpr std::int64_t currentSchema = TavrinConstants::projectSchemaVersion;
const std::set<std::int64_t> supportedSchemas{1, currentSchema};

// Files beyond any sensible size are refused: what they would unfold to must fit into memory.
constexpr std::size_t mebibyte = std::size_t(1) << 20;
constexpr std::size_t maximumManifestSize = 16 * mebibyte;
constexpr std::size_t maximumEditsSize = 64 * mebibyte;
constexpr std::size_t maximumEventsSize = 4096 * mebibyte; ///< an hour takes some 200 MiB

void assertSupported(std::int64_t version, const std::set<std::int64_t>& schemas) {
    if (!schemas.contains(version)) {
        throw ValidationError::unsupportedSchemaVersion(version, currentSchema);
    }
}

/// One component below the root, also where the name would be a path of its own.
fs::path below(const fs::path& root, const std::string& component) {
    fs::path result = root;
    result += "/" + component;
    return result;
}

std::optional<std::int64_t> wholeInteger(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

/// The text of a manifest, which may be of any schema.
std::string readManifestOf(const fs::path& root) {
    return readFile(below(root, "manifest.json"), maximumManifestSize);
}

bool isThere(const fs::path& path) {
    std::error_code unreachable;
    return fs::exists(path, unreachable);
}

void assertReadableRegularFile(const fs::path& url, const std::string& label) {
    std::error_code error;
    const fs::file_status status = fs::status(url, error);
    if (!fs::exists(status)) {
        throw ValidationError::requiredFileMissing(label);
    }
    if (!fs::is_regular_file(status)) {
        throw ValidationError::expectedRegularFile(label);
    }
    const std::uintmax_t size = fs::file_size(url, error);
    if (error) {
        throw FileError("read", url, error.value());
    }
    if (size == 0) {
        throw ValidationError::emptyFile(label);
    }
}

void validateAudioTracks(const std::vector<AudioTrackDescriptor>& tracks) {
    std::set<AudioTrackDescriptor::Kind> kinds;
    std::set<std::string> names;
    for (const AudioTrackDescriptor& track : tracks) {
        if (!kinds.insert(track.kind).second) {
            throw ValidationError::duplicateAudioTrackKind(track.kind);
        }
        ProjectPackage::validateFileName(track.fileName, std::string(nameOf(track.kind)) + " audio");
        if (!names.insert(track.fileName).second) {
            throw ValidationError::duplicateAudioTrackFileName(track.fileName);
        }
    }
}

void validateCameraTracks(const std::vector<CameraTrackDescriptor>& tracks) {
    std::set<std::string> names;
    for (const CameraTrackDescriptor& track : tracks) {
        ProjectPackage::validateFileName(track.fileName, "camera");
        if (!names.insert(track.fileName).second) {
            throw ValidationError::duplicateCameraTrackFileName(track.fileName);
        }
    }
}

/// Keeps a package of schema 1 as it is: the manifest's own bytes, and the files that it names, in a new
/// folder named after the time. The files are hard links where the file system has them; since the package's
/// files are replaced and never written into, the links keep the old contents.
/// @return the new folder
/// @throws FileError, also when a folder of that name exists
fs::path createMigrationBackup(const fs::path& root, const ProjectManifest& manifest,
                               std::string_view manifestData) {
    const fs::path backups = root / ".migration-backups";
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
        if (isThere(root / name)) {
            linkOrCopyFile(root / name, folder / name);
        }
    }
    return folder;
}

} // namespace

ProjectPackage::ProjectPackage(fs::path rootURL, ProjectManifest manifest)
    : rootURL_(std::move(rootURL)), manifest_(std::move(manifest)) {}

ProjectPackage ProjectPackage::load(const fs::path& rootURL) {
    migrateIfNeeded(rootURL);
    const std::string manifestData = readManifestOf(rootURL);
    assertSupported(schemaVersionInManifestData(manifestData), supportedSchemas);
    ProjectPackage package(rootURL, decodeDocument<ProjectManifest>(manifestData));
    package.validateIntegrity();
    return package;
}

ProjectPackageMigrationResult ProjectPackage::migrateIfNeeded(const fs::path& rootURL) {
    const std::string manifestData = readManifestOf(rootURL);
    const std::int64_t version = schemaVersionInManifestData(manifestData);
    if (version == currentSchema) {
        return {};
    }
    assertSupported(version, supportedSchemas);
    ProjectPackage package(rootURL, decodeDocument<ProjectManifest>(manifestData));
    validateManifest(package.manifest(), supportedSchemas);
    const fs::path backup = createMigrationBackup(rootURL, package.manifest(), manifestData);

    package.manifest().schemaVersion = currentSchema;
    package.saveManifest();
    if (isThere(package.eventsURL())) {
        package.saveEvents(package.loadEvents());
    }
    if (isThere(package.editsURL())) {
        package.saveEdits(package.loadEdits());
    }
    return {.migrated = true, .fromVersion = version, .toVersion = currentSchema, .backupURL = backup};
}

std::int64_t ProjectPackage::schemaVersionInManifestData(std::string_view text) {
    const Json json = parseJson(text);
    if (!json.is_object() || !json.contains("schemaVersion")) {
        throw ValidationError::invalidManifest("Missing schemaVersion field.");
    }
    const Json& version = json["schemaVersion"];
    std::optional<std::int64_t> value;
    if (version.is_string()) {
        value = wholeInteger(version.get_ref<const std::string&>());
    } else if (version.is_number()) {
        try {
            decode(version, value.emplace());
        } catch (const JsonError&) {
            value.reset();
        }
    }
    if (!value) {
        throw ValidationError::invalidManifest("schemaVersion must be an integer.");
    }
    return *value;
}

void ProjectPackage::validateManifest(const ProjectManifest& manifest,
                                      const std::set<std::int64_t>& schemas) {
    assertSupported(manifest.schemaVersion, schemas);
    validateFileName(manifest.screenFileName, "screen");
    validateFileName(manifest.eventsFileName, "events");
    validateFileName(manifest.editsFileName, "edits");
    validateAudioTracks(manifest.audioTracks);
    validateCameraTracks(manifest.cameraTracks);
}

void ProjectPackage::validateFileName(const std::string& value, const std::string& field) {
    const std::string name = trimmed(value);
    if (name.empty() || name.find("..") != std::string::npos ||
        name.find_first_of("/\\") != std::string::npos) {
        throw ValidationError::invalidFileName(field, value);
    }
}

fs::path ProjectPackage::manifestURL() const {
    return below(rootURL_, "manifest.json");
}

fs::path ProjectPackage::screenURL() const {
    return below(rootURL_, manifest_.screenFileName);
}

fs::path ProjectPackage::eventsURL() const {
    return below(rootURL_, manifest_.eventsFileName);
}

fs::path ProjectPackage::editsURL() const {
    return below(rootURL_, manifest_.editsFileName);
}

fs::path ProjectPackage::audioURL(const AudioTrackDescriptor& track) const {
    return below(rootURL_, track.fileName);
}

fs::path ProjectPackage::cameraURL(const CameraTrackDescriptor& track) const {
    return below(rootURL_, track.fileName);
}

void ProjectPackage::createDirectoriesIfNeeded() const {
    if (!isThere(rootURL_)) {
        createDirectories(rootURL_);
    }
}

void ProjectPackage::setAudioTracks(std::vector<AudioTrackDescriptor> tracks) {
    manifest_.audioTracks = std::move(tracks);
}

void ProjectPackage::setCameraTracks(std::vector<CameraTrackDescriptor> tracks) {
    manifest_.cameraTracks = std::move(tracks);
}

void ProjectPackage::saveManifest() const {
    validateManifest(manifest_, supportedSchemas);
    writeFileAtomically(manifestURL(), encodeDocument(manifest_));
}

void ProjectPackage::saveEvents(const EventTimeline& timeline) const {
    writeFileAtomically(eventsURL(), [&](const std::function<void(std::string_view)>& put) {
        JsonWriter writer(put);
        writeEventTimeline(writer, timeline);
    });
}

void ProjectPackage::saveEdits(const EditsDocument& document) const {
    writeFileAtomically(editsURL(), encodeDocument(document));
}

EventTimeline ProjectPackage::loadEvents() const {
    FileInput file(eventsURL(), maximumEventsSize);
    assertSupported(manifest_.schemaVersion, supportedSchemas);
    JsonReader reader([&](char* buffer, std::size_t size) { return file.read(buffer, size); });
    return readEventTimeline(reader);
}

EditsDocument ProjectPackage::loadEdits() const {
    FileInput file(editsURL(), maximumEditsSize);
    assertSupported(manifest_.schemaVersion, supportedSchemas);
    return decodeDocument<EditsDocument>(readAll(file));
}

void ProjectPackage::validateIntegrity() const {
    validateManifest(manifest_, supportedSchemas);
    assertReadableRegularFile(screenURL(), manifest_.screenFileName);
    assertReadableRegularFile(eventsURL(), manifest_.eventsFileName);
    assertReadableRegularFile(editsURL(), manifest_.editsFileName);
    for (const AudioTrackDescriptor& track : manifest_.audioTracks) {
        assertReadableRegularFile(audioURL(track), track.fileName);
    }
    for (const CameraTrackDescriptor& track : manifest_.cameraTracks) {
        assertReadableRegularFile(cameraURL(track), track.fileName);
    }
}

} // namespace tavrin
