#include "TavrinKit/Capture/FirstScreenSampleSignal.h"

#include <utility>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

void FirstScreenSampleSignal::resolve(std::exception_ptr error) {
    const std::lock_guard lock(mutex_);
    if (isResolved_) {
        return;
    }
    isResolved_ = true;
    error_ = std::move(error);
    resolved_.notify_all();
}

void FirstScreenSampleSignal::wait(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    if (!resolved_.wait(lock, stop, [&] { return isResolved_; })) {
        isResolved_ = true;
        error_ = std::make_exception_ptr(CancellationError());
        resolved_.notify_all();
    }
    if (error_) {
        std::rethrow_exception(error_);
    }
}

} // namespace tavrin
