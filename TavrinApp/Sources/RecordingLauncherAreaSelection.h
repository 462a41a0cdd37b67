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

void encode(Json& json, const RecordingLauncherAreaSelection& value);
void decode(const Json& json, RecordingLauncherAreaSelection& value);

} // namespace tavrin
