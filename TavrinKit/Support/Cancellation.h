#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

/// Throws CancellationError when a stop was requested.
inline void throwIfCancelled(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw CancellationError();
    }
}

/// Sleeps until the duration is over; throws CancellationError as soon as a stop is requested.
void sleepFor(std::chrono::nanoseconds duration, const std::stop_token& stop);

} // namespace tavrin
