#pragma once

#include <filesystem>
#include <vector>

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin::demo {

/// Turns a plain take into one that has everything: for a look at all effects together, for tests and for
/// measuring them.
///
/// The side tracks are made up, the files are real: a camera movie of a presenter who sways and nods, a
/// microphone that hears claps, music, a logo.
namespace Showcase {

/// Where the edit changes pace, seconds on the recording's clock.
struct Cuts {
    ClipTimeRange trim;
    ClipTimeRange slow;    ///< plays at half the speed
    ClipTimeRange fast;    ///< at double
    ClipTimeRange slowest; ///< at a quarter
};

/// Cuts at even places of a take.
[[nodiscard]] Cuts evenCuts(double duration);

/// Writes camera, microphone, music and logo into a package and one of everything into its edits: trim, three
/// speeds, five zooms of all styles, a crop, a wallpaper, the typing panel, the camera, three annotations of
/// each type, a watermark, blur, fades and music.
/// @param claps  when the microphone hears a clap, seconds on the recording's clock
/// @return the package opened again
/// @throws MediaError, FileError, JsonError, ProjectPackageValidationError
EditorSession apply(const std::filesystem::path& package, const Cuts& cuts,
                    const std::vector<double>& claps = {});

} // namespace Showcase
} // namespace tavrin::demo
