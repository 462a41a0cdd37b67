#pragma once

#include <optional>
#include <string>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// One entry of the list from which the user picks what to record.
struct CaptureSourceOption {
    enum class Kind { display, window, area };

    std::string id; ///< "display:{displayID}" or "window:{windowID}"
    Kind kind = Kind::display;
    std::string title;
    std::string subtitle; ///< the second line: a display's size, a window's owner
    RecordingTarget target;
    std::optional<Rect> captureBounds;           ///< global points, y upward; absent when unknown
    std::optional<std::string> applicationName;  ///< the owner of a window
    std::optional<std::string> bundleIdentifier; ///< the owner of a window

    friend bool operator==(const CaptureSourceOption&, const CaptureSourceOption&) = default;
};

} // namespace tavrin
