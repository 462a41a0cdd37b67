#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace tavrin {

/// Lets the callers of a service in one at a time, for calls that take long: whoever waits holds no lock and
/// can be cancelled, and so can whoever works. Any thread.
class Turns {
public:
    /// The service is its holder's until it goes.
    class Turn {
    public:
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        friend Turns;
        explicit Turn(Turns& turns) : turns_(turns) {}
        Turns& turns_;
    };

    /// Waits until nobody holds a turn. A caller that holds one already waits for ever.
    /// @throws CancellationError
    [[nodiscard]] Turn take(const std::stop_token& stop);

private:
    std::mutex mutex_;
    std::condition_variable_any freed_;
    bool isTaken_ = false; ///< guarded by mutex_
};

} // namespace tavrin
