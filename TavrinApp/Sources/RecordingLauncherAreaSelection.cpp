#include "TavrinApp/Sources/RecordingLauncherAreaSelection.h"

#include <cmath>

#include <fmt/format.h>

namespace tavrin {
namespace {

std::string whole(double value) {
    return fmt::format("{:.0f}", std::round(value) + 0.0); // no "-0"
}

} // namespace

std::string RecordingLauncherAreaSelection::stableIdentifier() const {
    const Rect area = rect.standardized();
    return fmt::format("area:{}:{}x{}x{}x{}", displayID, whole(area.x), whole(area.y), whole(area.width),
                       whole(area.height));
}

std::string RecordingLauncherAreaSelection::subtitle() const {
    const Rect area = rect.standardized();
    return fmt::format("{} x {}", whole(area.width), whole(area.height));
}

} // namespace tavrin
