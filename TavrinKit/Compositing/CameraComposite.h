#pragma once

#include <optional>

#include "TavrinKit/Compositing/CameraPiPLayer.h"
#include "TavrinKit/Project/CameraPiPStyle.h"
#include "TavrinKit/Project/ProjectPackage.h"

namespace tavrin {

/// The camera movie of a package, its first picture decoded, with what it takes to show it in time.
///
/// @param fallbackFPS               for a movie that doesn't name its rate
/// @param sourceStartOffsetSeconds  where the recording's clock starts within the untrimmed take
/// @return nothing when the style is off, the package has no camera track, or the movie is missing,
///         damaged or has no pictures, which is logged
/// @throws FileError when the system can't read the movie
[[nodiscard]] std::optional<CameraCompositeContext>
makeCameraCompositeContext(const ProjectPackage& package, const CameraPiPStyle& style, double fallbackFPS,
                           double sourceStartOffsetSeconds);

} // namespace tavrin
