#include "TavrinKit/Support/HostClock.h"

#include <ctime>

namespace tavrin::HostClock {
namespace {

std::int64_t nanoseconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

struct Anchor {
    std::int64_t wall = nanoseconds(CLOCK_REALTIME);
    std::int64_t monotonic = nanoseconds(CLOCK_MONOTONIC);
};

const Anchor& anchor() {
    static const Anchor theAnchor;
    return theAnchor;
}

} // namespace

double fromMonotonic(std::int64_t time) {
    // The sum is made in integers: as doubles the two terms would lose the microseconds.
    return double(anchor().wall + (time - anchor().monotonic)) * 1e-9;
}

double now() {
    anchor();
    return fromMonotonic(nanoseconds(CLOCK_MONOTONIC));
}

} // namespace tavrin::HostClock
