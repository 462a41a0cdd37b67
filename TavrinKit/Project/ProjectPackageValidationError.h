#pragma once

#include <cstdint>
#include <string>

#include "TavrinKit/Project/ProjectManifest.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class ProjectPackageValidationErrorKind {
    unsupportedSchemaVersion,
    invalidManifest,
    invalidFileName,
    duplicateAudioTrackKind,
    duplicateAudioTrackFileName,
    duplicateCameraTrackFileName,
    requiredFileMissing,
    expectedRegularFile,
    emptyFile,
};

/// A folder that is no sound project package.
class ProjectPackageValidationError : public ErrorFamily<ProjectPackageValidationErrorKind> {
public:
    static ProjectPackageValidationError unsupportedSchemaVersion(std::int64_t found, std::int64_t expected);
    static ProjectPackageValidationError invalidManifest(const std::string& reason);
    static ProjectPackageValidationError invalidFileName(const std::string& field, const std::string& value);
    static ProjectPackageValidationError duplicateAudioTrackKind(AudioTrackDescriptor::Kind kind);
    static ProjectPackageValidationError duplicateAudioTrackFileName(const std::string& fileName);
    static ProjectPackageValidationError duplicateCameraTrackFileName(const std::string& fileName);
    static ProjectPackageValidationError requiredFileMissing(const std::string& label);
    static ProjectPackageValidationError expectedRegularFile(const std::string& label);
    static ProjectPackageValidationError emptyFile(const std::string& label);

    /// The schema version that was found, of `unsupportedSchemaVersion`; else 0.
    [[nodiscard]] std::int64_t found() const { return found_; }
    /// The version that this program writes, of `unsupportedSchemaVersion`; else 0.
    [[nodiscard]] std::int64_t expected() const { return expected_; }
    /// The field of `invalidFileName`, as in "system audio"; else empty.
    [[nodiscard]] const std::string& field() const { return field_; }
    /// What the sentence is about: a reason, file name, kind or label.
    [[nodiscard]] const std::string& value() const { return value_; }

private:
    using Kind = ProjectPackageValidationErrorKind;
    ProjectPackageValidationError(Kind kind, const std::string& sentence, std::string value = {},
                                  std::string field = {}, std::int64_t found = 0, std::int64_t expected = 0);

    std::string value_;
    std::string field_;
    std::int64_t found_;
    std::int64_t expected_;
};

} // namespace tavrin
