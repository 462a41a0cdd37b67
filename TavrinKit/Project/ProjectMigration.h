#pragma once

#include <filesystem>
#include <string_view>

#include "TavrinKit/Project/ProjectManifest.h"

namespace tavrin {

/// Keeps a package of schema 1 as it is: the manifest's own bytes, and the files that it names, in a new
/// folder named after the time. The files are hard links where the file system has them; since the package's
/// files are replaced and never written into, the links keep the old contents.
/// @return the new folder
/// @throws FileError, also when a folder of that name exists
std::filesystem::path createMigrationBackup(const std::filesystem::path& rootURL,
                                            const ProjectManifest& manifest, std::string_view manifestData);

} // namespace tavrin
