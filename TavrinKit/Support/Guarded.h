#pragma once

#include <mutex>
#include <utility>

namespace tavrin {

/// A value that can only be reached through its lock.
///
///     Guarded<State> state_;
///     state_.with([](State& state) { state.count += 1; });
///
/// The function must neither wait, call back, decode nor render: the lock is for a few loads and stores.
template <typename Value>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(Value value) : value_(std::move(value)) {}

    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    /// Runs `function` on the value under the lock and returns what it returns, by value.
    template <typename Function>
    auto with(Function&& function) {
        const std::lock_guard lock(mutex_);
        return std::forward<Function>(function)(value_);
    }

    template <typename Function>
    auto with(Function&& function) const {
        const std::lock_guard lock(mutex_);
        return std::forward<Function>(function)(value_);
    }

    [[nodiscard]] Value copy() const {
        const std::lock_guard lock(mutex_);
        return value_;
    }

private:
    mutable std::mutex mutex_;
    Value value_{};
};

} // namespace tavrin
