#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {

void sleepFor(std::chrono::nanoseconds duration, const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any condition;
    std::unique_lock lock(mutex);
    condition.wait_for(lock, stop, duration, [] { return false; });
    throwIfCancelled(stop);
}

} // namespace tavrin
