#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>
#include <vector>

namespace tavrin {

/// A first-in, first-out hand-over between threads that never holds more than `capacity` elements.
///
/// Closing it lets the consumers drain what is left; after that `pop` gives nothing. All memory is taken at
/// construction. Any thread.
template <typename Element>
class BoundedQueue {
public:
    explicit BoundedQueue(std::size_t capacity) : slots_(capacity) {}

    /// Waits for room. @return false when the queue was closed or a stop requested: the element is dropped
    bool push(Element element, const std::stop_token& stop = {}) {
        std::unique_lock lock(mutex_);
        notFull_.wait(lock, stop, [&] { return closed_ || count_ < slots_.size(); });
        return put(std::move(element));
    }

    /// Never waits. @return false when there was no room or the queue is closed: the element is left as it
    /// was
    bool tryPush(Element&& element) {
        const std::lock_guard lock(mutex_);
        return put(std::move(element));
    }

    /// Waits for an element. @return nothing when the queue is closed and empty, or on a stop request
    std::optional<Element> pop(const std::stop_token& stop = {}) {
        std::unique_lock lock(mutex_);
        notEmpty_.wait(lock, stop, [&] { return closed_ || count_ > 0; });
        return take(stop);
    }

    /// Waits for an element, but not longer than `patience`.
    /// @return nothing also when the patience ran out; `isDrained` tells a pause from the end
    std::optional<Element> pop(std::chrono::nanoseconds patience, const std::stop_token& stop = {}) {
        std::unique_lock lock(mutex_);
        notEmpty_.wait_for(lock, stop, patience, [&] { return closed_ || count_ > 0; });
        return take(stop);
    }

    void close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        notFull_.notify_all();
        notEmpty_.notify_all();
    }

    [[nodiscard]] std::size_t size() const {
        const std::lock_guard lock(mutex_);
        return count_;
    }

    /// Closed and empty: `pop` will never give anything again.
    [[nodiscard]] bool isDrained() const {
        const std::lock_guard lock(mutex_);
        return closed_ && count_ == 0;
    }

private:
    // Under the lock.
    bool put(Element&& element) {
        if (closed_ || count_ >= slots_.size()) {
            return false;
        }
        slots_[(first_ + count_) % slots_.size()].emplace(std::move(element));
        count_ += 1;
        notEmpty_.notify_one();
        return true;
    }
    std::optional<Element> take(const std::stop_token& stop) {
        if (count_ == 0 || stop.stop_requested()) {
            return std::nullopt;
        }
        std::optional<Element> element = std::exchange(slots_[first_], std::nullopt);
        first_ = (first_ + 1) % slots_.size();
        count_ -= 1;
        notFull_.notify_one();
        return element;
    }

    mutable std::mutex mutex_;
    std::condition_variable_any notFull_;
    std::condition_variable_any notEmpty_;
    std::vector<std::optional<Element>> slots_;
    std::size_t first_ = 0;
    std::size_t count_ = 0;
    bool closed_ = false;
};

} // namespace tavrin
