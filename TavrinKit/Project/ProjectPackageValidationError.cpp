#include "TavrinKit/Project/ProjectPackageValidationError.h"

#include <fmt/format.h>

namespace tavrin {

ProjectPackageValidationError::ProjectPackageValidationError(Kind kind, const std::string& sentence,
                                                             std::string value, std::string field,
                                                             std::int64_t found, std::int64_t expected)
    : ErrorFamily(kind, sentence), value_(std::move(value)), field_(std::move(field)), found_(found),
      expected_(expected) {}

ProjectPackageValidationError ProjectPackageValidationError::unsupportedSchemaVersion(std::int64_t found,
                                                                                      std::int64_t expected) {
    return {Kind::unsupportedSchemaVersion,
            fmt::format("Unsupported project schema version {}. Expected {}.", found, expected),
            {},
            {},
            found,
            expected};
}

ProjectPackageValidationError ProjectPackageValidationError::invalidManifest(const std::string& reason) {
    return {Kind::invalidManifest, fmt::format("Project manifest is invalid: {}", reason), reason};
}

ProjectPackageValidationError ProjectPackageValidationError::invalidFileName(const std::string& field,
                                                                             const std::string& value) {
    return {Kind::invalidFileName, fmt::format("Invalid {} file name: {}", field, value), value, field};
}

ProjectPackageValidationError
ProjectPackageValidationError::duplicateAudioTrackKind(AudioTrackDescriptor::Kind kind) {
    const std::string name(nameOf(kind));
    return {Kind::duplicateAudioTrackKind,
            fmt::format("Duplicate audio track kind found in manifest: {}", name), name};
}

ProjectPackageValidationError
ProjectPackageValidationError::duplicateAudioTrackFileName(const std::string& fileName) {
    return {Kind::duplicateAudioTrackFileName,
            fmt::format("Duplicate audio track file name found in manifest: {}", fileName), fileName};
}

ProjectPackageValidationError
ProjectPackageValidationError::duplicateCameraTrackFileName(const std::string& fileName) {
    return {Kind::duplicateCameraTrackFileName,
            fmt::format("Duplicate camera track file name found in manifest: {}", fileName), fileName};
}

ProjectPackageValidationError ProjectPackageValidationError::requiredFileMissing(const std::string& label) {
    return {Kind::requiredFileMissing, fmt::format("Required project file is missing: {}", label), label};
}

ProjectPackageValidationError ProjectPackageValidationError::expectedRegularFile(const std::string& label) {
    return {Kind::expectedRegularFile, fmt::format("Project path is not a regular file: {}", label), label};
}

ProjectPackageValidationError ProjectPackageValidationError::emptyFile(const std::string& label) {
    return {Kind::emptyFile, fmt::format("Project file is empty: {}", label), label};
}

} // namespace tavrin
