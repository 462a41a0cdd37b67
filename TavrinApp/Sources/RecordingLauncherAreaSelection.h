#pragma once

#include <string>

#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// A part of a display that the user has chosen to record. In JSON all keys are required.
struct RecordingLauncherAreaSelection {
    std::string displayID; ///< the number in decimal
    std::string displayName;
    Rect rect; ///< global points, y upward

    /// "area:{displayID}:{x}x{y}x{width}x{height}" in whole points: the same for the same area.
    [[nodiscard]] std::string stableIdentifier() const;
    /// "{width} x {height}" in whole points.
    [[nodiscard]] std::string subtitle() const;

    friend bool operator==(const RecordingLauncherAreaSelection&,
                           const RecordingLauncherAreaSelection&) = default;
};

template <>
struct JsonRecord<RecordingLauncherAreaSelection> {
    static void fields(auto& keys, auto& value) {
        keys.required("displayID", value.displayID);
        keys.required("displayName", value.displayName);
        keys.required("rect", value.rect);
    }
};

} // namespace tavrin
