#pragma once

#include <filesystem>
#include <vector>

#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {

/// The files that a session's movie is made of or that keep the session. They need not exist.
[[nodiscard]] std::vector<std::filesystem::path> filesOf(const EditorSession& session);

/// Finds out before an export whether a movie could take the place of what lies at its destination: it must
/// be an ordinary file or none, and not one of the sources, whatever name it goes by.
/// @throws FileError
void checkDestination(const std::filesystem::path& destination,
                      const std::vector<std::filesystem::path>& sources);

} // namespace tavrin
