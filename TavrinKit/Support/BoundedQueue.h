#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <stop_token>

namespace tavrin {

/// A first-in, first-out hand-over between threads that never holds more than `capacity` elements.
///
/// Closing it lets the consumers drain what is left; after that `pop` gives nothing. Any thread.
template <typename Element>
class BoundedQueue {
public:
    explicit BoundedQueue(std::size_t capacity) : capacity_(capacity) {}

    /// Waits for room. @return false when the queue was closed or a stop requested: the element is dropped
    bool push(Element element, const std::stop_token& stop = {}) {
        std::unique_lock lock(mutex_);
        notFull_.wait(lock, stop, [&] { return closed_ || elements_.size() < capacity_; });
        if (closed_ || elements_.size() >= capacity_) {
            return false;
        }
        elements_.push_back(std::move(element));
        notEmpty_.notify_one();
        return true;
    }

    /// Never waits. @return false when there was no room or the queue is closed: the element is left as it was
    bool tryPush(Element&& element) {
        const std::lock_guard lock(mutex_);
        if (closed_ || elements_.size() >= capacity_) {
            return false;
        }
        elements_.push_back(std::move(element));
        notEmpty_.notify_one();
        return true;
    }

    /// Waits for an element. @return nothing when the queue is closed and empty, or on a stop request
    std::optional<Element> pop(const std::stop_token& stop = {}) {
        std::unique_lock lock(mutex_);
        notEmpty_.wait(lock, stop, [&] { return closed_ || !elements_.empty(); });
        if (elements_.empty() || stop.stop_requested()) {
            return std::nullopt;
        }
        std::optional<Element> element(std::move(elements_.front()));
        elements_.pop_front();
        notFull_.notify_one();
        return element;
    }

    void close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        notFull_.notify_all();
        notEmpty_.notify_all();
    }

    [[nodiscard]] std::size_t size() const {
        const std::lock_guard lock(mutex_);
        return elements_.size();
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable_any notFull_;
    std::condition_variable_any notEmpty_;
    std::deque<Element> elements_;
    const std::size_t capacity_;
    bool closed_ = false;
};

} // namespace tavrin
