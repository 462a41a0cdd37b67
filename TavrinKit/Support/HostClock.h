#pragma once

#include <cstdint>

namespace tavrin {

/// The one clock on which samples, geometry and input events are compared.
///
/// Seconds since 1970, but taken from the monotonic clock, which is anchored to the wall clock once per
/// process: a step of the wall clock in mid-take moves nothing. Any thread.
namespace HostClock {

[[nodiscard]] double now();

/// @param nanoseconds  a CLOCK_MONOTONIC time
[[nodiscard]] double fromMonotonic(std::int64_t nanoseconds);

} // namespace HostClock
} // namespace tavrin
