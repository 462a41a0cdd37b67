#include "TavrinKit/Support/Turns.h"

#include "TavrinKit/Support/Error.h"

namespace tavrin {

Turns::Turn Turns::take(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    if (!freed_.wait(lock, stop, [this] { return !isTaken_; })) {
        throw CancellationError();
    }
    isTaken_ = true;
    return Turn(*this);
}

Turns::Turn::~Turn() {
    const std::lock_guard lock(turns_.mutex_);
    turns_.isTaken_ = false;
    turns_.freed_.notify_one();
}

} // namespace tavrin
