#pragma once

#include <filesystem>
#include <vector>

namespace tavrin {

/// When the first pictures of a movie's first video track are shown: seconds, ascending, without decoding
/// any.
/// @param count  how many at the most
/// @return none when there is no such track
/// @throws MediaError, FileError
[[nodiscard]] std::vector<double> firstPictureTimes(const std::filesystem::path& path, int count);

} // namespace tavrin
