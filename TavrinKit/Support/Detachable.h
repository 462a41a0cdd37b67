#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace tavrin {

/// Somebody who is called until taken off. Any thread, but calls come from one at a time.
template <typename Callee>
class Detachable {
public:
    explicit Detachable(std::shared_ptr<Callee> callee) : callee_(std::move(callee)) {}
    Detachable(const Detachable&) = delete;
    Detachable& operator=(const Detachable&) = delete;

    /// Calls the function with the callee, under no lock; does nothing once that is taken off.
    template <typename Function>
    void call(Function&& function) {
        std::shared_ptr<Callee> callee;
        {
            const std::lock_guard lock(mutex_);
            callee = callee_;
            caller_ = callee ? std::this_thread::get_id() : std::thread::id();
        }
        if (!callee) {
            return;
        }
        std::forward<Function>(function)(*callee);
        callee.reset();
        const std::lock_guard lock(mutex_);
        caller_ = {};
        returned_.notify_all();
    }

    /// Lets go of the callee. When this returns no call is under way and none will follow; within a call,
    /// none follows that one.
    void detach() {
        std::unique_lock lock(mutex_);
        const std::shared_ptr<Callee> callee = std::exchange(callee_, nullptr);
        returned_.wait(
            lock, [this] { return caller_ == std::thread::id() || caller_ == std::this_thread::get_id(); });
        lock.unlock(); // before the callee goes, perhaps for good
    }

private:
    std::mutex mutex_; ///< guards the rest
    std::condition_variable returned_;
    std::shared_ptr<Callee> callee_;
    std::thread::id caller_; ///< of the call under way
};

} // namespace tavrin
