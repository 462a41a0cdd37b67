#pragma once

#include <string>
#include <thread>

namespace tavrin::bench {

/// Moves the pointer about a display as a hand does, without clicking, on a thread of its own.
class PointerMover {
public:
    /// @param clicks  presses the left button now and then, so that there is something to zoom in on
    /// @throws X11Error
    explicit PointerMover(const std::string& display, bool clicks = false);

private:
    std::jthread thread_;
};

} // namespace tavrin::bench
