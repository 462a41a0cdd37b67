#include "TavrinKit/Imaging/WorkerPool.h"

namespace tavrin::imaging {

WorkerPool::WorkerPool(int threads) {
    for (int i = 1; i < threads; ++i) {
        workers_.emplace_back([this] { work(); });
    }
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    wake_.notify_all();
    for (std::thread& worker : workers_) {
        worker.join();
    }
}

void WorkerPool::run(int count, const std::function<void(int)>& step) {
    if (count <= 1 || workers_.empty()) {
        for (int i = 0; i < count; ++i) {
            step(i);
        }
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        step_ = &step;
        next_ = 0;
        count_ = count;
        busy_ = int(workers_.size());
        ++round_;
    }
    wake_.notify_all();
    takeSteps();
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return busy_ == 0; });
    step_ = nullptr;
}

void WorkerPool::takeSteps() {
    const int count = count_;
    for (int i = next_++; i < count; i = next_++) {
        (*step_)(i);
    }
}

void WorkerPool::work() {
    std::uint64_t seen = 0;
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [&] { return ended_ || round_ != seen; });
            if (ended_) {
                return;
            }
            seen = round_;
        }
        takeSteps();
        const std::lock_guard lock(mutex_);
        if (--busy_ == 0) {
            done_.notify_one();
        }
    }
}

} // namespace tavrin::imaging
