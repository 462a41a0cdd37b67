#pragma once

#include <memory>
#include <string>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin::demo {

/// A small task list with a window of its own, for something to record where nobody works.
///
/// Paints a wallpaper on the root window and its own window in the middle of the screen, answers to clicks,
/// drags, typed text and shortcuts (Ctrl+S saves, Ctrl+F searches, Ctrl+N adds, Ctrl+D ticks off), and
/// repaints only what changed. Runs on its own thread and connection from construction to destruction.
class DemoApplication {
public:
    /// Returns when the desktop is painted and the window listens.
    /// @param display  a display's name, as in ":99"
    /// @throws Error when the display can't be used
    explicit DemoApplication(const std::string& display);
    ~DemoApplication();
    DemoApplication(const DemoApplication&) = delete;
    DemoApplication& operator=(const DemoApplication&) = delete;

    /// The window's top left corner, root pixels, y downward.
    [[nodiscard]] Vec2 origin() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin::demo
