#include "TavrinKit/Platform/X11/StopSignal.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tavrin {

StopSignal::StopSignal() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

StopSignal::~StopSignal() {
    ::close(descriptor_);
}

void StopSignal::request() noexcept {
    isRequested_.store(true);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(descriptor_, &one, sizeof one);
}

void StopSignal::waitFor(int descriptor, std::optional<Clock::time_point> until) const {
    timespec timeout{};
    if (until) {
        const auto left = std::max<std::int64_t>(0, std::chrono::nanoseconds(*until - Clock::now()).count());
        timeout = {time_t(left / 1'000'000'000), long(left % 1'000'000'000)};
    }
    pollfd waiting[] = {{descriptor_, POLLIN, 0}, {descriptor, POLLIN, 0}};
    ::ppoll(waiting, descriptor < 0 ? 1 : 2, until ? &timeout : nullptr, nullptr);
}

} // namespace tavrin
