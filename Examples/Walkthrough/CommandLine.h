#pragma once

#include <filesystem>
#include <optional>

namespace tavrin::demo {

/// What the walkthrough was asked to do.
struct CommandLine {
    std::optional<double> seconds; ///< absent: until Ctrl-C, or the demonstration's end
    std::optional<std::filesystem::path> outputDirectory; ///< absent: the user's videos folder
    bool showcase = false;                                ///< lay one of every effect over the take
    bool help = false;

    /// @throws Error with a sentence that names what is wrong
    [[nodiscard]] static CommandLine parse(int count, const char* const* arguments);

    static constexpr const char* helpText =
        R"(Records a walkthrough, opens it with generated zooms and exports it as a movie.

Usage: walkthrough [--seconds N] [--output DIR] [--showcase]

Where DISPLAY is set, that display is recorded for N seconds or until Ctrl-C. Where it is not, a display
of the program's own shows a small application that is worked with for about 25 seconds.

  --seconds N    stop recording after N seconds
  --output DIR   put the project folder and the movie there, instead of TavrinProjects in the videos folder
  --showcase     add a camera, music and one of every edit before the export, to see all effects together
  --help         this text

Ctrl-C ends the recording and goes on with the export; during the export it cancels.
)";
};

} // namespace tavrin::demo
