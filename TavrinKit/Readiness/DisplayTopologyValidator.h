#pragma once

#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Readiness/DisplayTopology.h"

namespace tavrin {

/// The displays that a server lists, in its order. The scale factor is what lies between a display's frame
/// and its pixels, which is 1 where the server knows of no points; the main display is the primary one.
[[nodiscard]] std::vector<DisplayDescriptor> displayDescriptors(const ShareableContent& content);

/// Judges whether the attached displays make sense. Pure.
namespace DisplayTopologyValidator {

[[nodiscard]] DisplayValidationReport validate(std::vector<DisplayDescriptor> displays);

} // namespace DisplayTopologyValidator
} // namespace tavrin
