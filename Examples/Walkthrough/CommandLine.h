#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin::demo {

/// What the walkthrough was asked to do.
struct CommandLine {
    std::optional<double> seconds; ///< absent: until Ctrl-C, or the demonstration's end
    std::optional<std::filesystem::path> outputDirectory; ///< absent: the user's videos folder
    std::optional<std::string> window; ///< title, or a part of one; absent: the main display
    std::optional<Rect> area;          ///< points, y downward from the top left of the main display
    bool sound = false;
    bool microphone = false;
    bool camera = false;
    bool list = false;     ///< print what can be recorded, and end
    bool showcase = false; ///< lay one of every effect over the take
    bool help = false;

    /// @throws Error with a sentence that names what is wrong
    [[nodiscard]] static CommandLine parse(int count, const char* const* arguments);

    static constexpr const char* helpText =
        R"(Records a walkthrough, opens it with generated zooms and exports it as a movie.

Usage: walkthrough [--window TITLE | --area X,Y,W,H] [--sound] [--microphone] [--camera]
                   [--seconds N] [--output DIR] [--showcase]
       walkthrough --list

Where DISPLAY is set, its main display is recorded for N seconds or until Ctrl-C. Where it is not, a display
of the program's own shows a small application that is worked with for about 25 seconds.

  --window TITLE   record the window with this title, or the only one whose title has this in it
  --area X,Y,W,H   record this part of the screen: pixels, as they are read off it, X to the right and Y
                   downward from the top left corner of the main display
  --sound          record what the machine plays, too
  --microphone     record the microphone, too
  --camera         record the first camera, too; without one the recording says so and goes on. A display of
                   the program's own comes with a camera of its own: a test picture
  --list           print the displays, windows, microphones and cameras that there are
  --seconds N      stop recording after N seconds
  --output DIR     put the project folder and the movie there, instead of TavrinProjects in the videos folder
  --showcase       add a camera, music and one of every edit before the export, to see all effects together
  --help           this text

Ctrl-C ends the recording and goes on with the export; during the export it cancels.
)";
};

} // namespace tavrin::demo
