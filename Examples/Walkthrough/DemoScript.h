#pragma once

#include <chrono>
#include <stop_token>
#include <string_view>
#include <vector>

#include "Examples/Walkthrough/DemoLayout.h"
#include "Examples/Walkthrough/HumanPath.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"

namespace tavrin::demo {

/// Works with the demo application the way a person would, for about 25 seconds.
///
/// Three bursts of clicks, two drags, typed text, shortcuts, and a rest in which nothing moves. The acts
/// begin at fixed times, so that a slow machine changes little about the take.
class DemoScript {
public:
    static constexpr double seconds = 25; ///< from `run` to its return, on an idle machine

    /// @param origin  the application window's top left corner, root pixels
    DemoScript(XTestDriver& hand, Vec2 origin);

    /// Puts the pointer where the script begins.
    void prepare();

    /// @throws CancellationError, X11Error
    void run(const std::stop_token& stop);

private:
    void chooseTasks();
    void moveSlider();
    void reorderTasks();
    void addTask();
    void finishTask();
    void searchAndRest();

    void waitUntil(double time) const;
    void pause(double length) const;
    void glideTo(Vec2 inWindow, double targetSize, double pace = 1);
    void click(Vec2 inWindow, double targetSize);
    void drag(Vec2 from, Vec2 to, double pace);
    void type(std::string_view text);

    XTestDriver& hand_;
    const Vec2 origin_;
    HumanPath path_{20250301};
    Vec2 position_; ///< of the pointer, in the window
    std::stop_token stop_;
    std::chrono::steady_clock::time_point start_;
};

} // namespace tavrin::demo
