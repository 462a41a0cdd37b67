#pragma once

#include "TavrinKit/Platform/Desktop/DesktopPlatform.h"

namespace tavrin::demo {

/// Prints the displays and windows, the microphones and the cameras that there are.
/// @throws Error when the display can't be asked; what else can't is a line of its own
void printSources(const DesktopPlatform& platform);

} // namespace tavrin::demo
