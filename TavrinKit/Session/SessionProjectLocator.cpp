#include "TavrinKit/Session/SessionProjectLocator.h"

#include <string>
#include <system_error>

#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

/// A dangling link counts: no folder could be made in its place.
bool isTaken(const std::filesystem::path& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::symlink_status(path, error);
    if (status.type() == std::filesystem::file_type::none) {
        throw FileError("look up", path, error.value());
    }
    return std::filesystem::exists(status);
}

} // namespace

std::filesystem::path SessionProjectLocator::defaultRootDirectory() {
    return videosDirectory() / "TavrinProjects";
}

void SessionProjectLocator::ensureRootDirectoryExists(const std::filesystem::path& root) {
    createDirectories(root);
}

std::filesystem::path SessionProjectLocator::makeSessionProjectURL(const std::filesystem::path& root,
                                                                   Date now) {
    const std::string name = "session-" + timestampLabel(now);
    std::filesystem::path url = root / name;
    for (int number = 2; isTaken(url); ++number) {
        url = root / (name + "-" + std::to_string(number));
    }
    return url;
}

} // namespace tavrin
