#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tavrin::imaging {

/// Spreads the steps of a loop over threads that stay.
///
/// Our own, as small as it is, because a thread sanitizer can only follow what it was compiled into.
class WorkerPool {
public:
    /// @param threads  the caller's included; at least 1
    explicit WorkerPool(int threads);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    [[nodiscard]] int threads() const { return int(workers_.size()) + 1; }

    /// Calls `step(i)` for each i below `count`, in any order, on several threads; returns when all are
    /// done. `step` must not throw. One thread at a time.
    void run(int count, const std::function<void(int)>& step);

private:
    void work();
    void takeSteps();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    const std::function<void(int)>* step_ = nullptr; ///< under mutex_, as the next three
    std::uint64_t round_ = 0;
    int busy_ = 0;
    bool ended_ = false;

    std::atomic<int> next_{0};
    std::atomic<int> count_{0};
    std::vector<std::thread> workers_;
};

} // namespace tavrin::imaging
