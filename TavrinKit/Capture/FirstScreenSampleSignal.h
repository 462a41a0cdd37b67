#pragma once

#include <condition_variable>
#include <exception>
#include <mutex>
#include <stop_token>

namespace tavrin {

/// A latch that says once whether a stream has come to life: by its first sample, or by the error that came
/// instead. Any thread.
class FirstScreenSampleSignal {
public:
    /// The first call decides; later ones change nothing.
    /// @param error  null for success
    void resolve(std::exception_ptr error = nullptr);

    /// Waits for the decision, also one made earlier. A cancelled wait decides too, for everybody.
    /// @throws the error, CancellationError
    void wait(const std::stop_token& stop);

private:
    std::mutex mutex_;
    std::condition_variable_any resolved_;
    bool isResolved_ = false;
    std::exception_ptr error_;
};

} // namespace tavrin
