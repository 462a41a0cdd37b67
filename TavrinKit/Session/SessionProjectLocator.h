#pragma once

#include <filesystem>

#include "TavrinKit/Support/Date.h"

namespace tavrin {

/// Decides where the package of a new recording goes. Any thread.
struct SessionProjectLocator {
    /// "TavrinProjects" in the user's videos folder. It need not exist.
    [[nodiscard]] static std::filesystem::path defaultRootDirectory();

    /// Creates the folder with what is missing above it.
    /// @throws FileError
    static void ensureRootDirectoryExists(const std::filesystem::path& root);

    /// "session-{yyyyMMdd-HHmmss}" in the root, or with "-2", "-3" and so on behind it: the first name that
    /// is free. Creates nothing, so that a name is only taken once the caller makes its folder.
    /// @throws FileError when the root can't be searched
    [[nodiscard]] static std::filesystem::path makeSessionProjectURL(const std::filesystem::path& root,
                                                                     Date now);
};

} // namespace tavrin
