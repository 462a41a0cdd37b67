#pragma once

#include <filesystem>

namespace tavrin {

/// Looks through the boxes of an MP4 or QuickTime file for tracks without a number, before FFmpeg reads it.
///
/// FFmpeg's demuxer can't file the fragments of such a movie: it takes its own error code for a place among
/// them and counts up from there, for most of a second a run of samples, so that a few kilobytes keep it busy
/// for minutes and nothing can stop it. Files of other kinds pass.
///
/// @throws MediaError (unreadable), FileError
void checkTrackNumbers(const std::filesystem::path& path);

} // namespace tavrin
