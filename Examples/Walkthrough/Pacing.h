#pragma once

#include <stop_token>
#include <vector>

#include "Examples/Walkthrough/HumanPath.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"

namespace tavrin::demo {

/// Sleeps for so many seconds.
/// @throws CancellationError as soon as a stop is requested
void pauseFor(double seconds, const std::stop_token& stop);

/// Moves the pointer along a path, in the time that the path takes.
/// @param origin  of the path's positions, root pixels
/// @throws CancellationError, X11Error
void moveAlong(const std::vector<PathStep>& path, XTestDriver& hand, Vec2 origin,
               const std::stop_token& stop);

} // namespace tavrin::demo
