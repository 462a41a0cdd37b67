#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <type_traits>
#include <utility>
#include <variant>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

/// Runs an operation that may hang against a timer.
///
/// The operation runs on a thread of its own. Of the operation and the timer the first to finish decides
/// the outcome, once; what the loser brings later is dropped. The thread of a lost operation is asked to
/// stop and then left alone, so `operation` must own (by value or shared pointer) all that it touches.
///
/// @param budget     how long to wait; not positive means the timer wins at once unless the operation is done
/// @param caller     a stop request ends the wait with CancellationError and is passed on to the operation
/// @param operation  callable with a std::stop_token; may return void
/// @return what the operation returned (std::monostate for void), or nothing when the timer won
/// @throws whatever the operation threw; CancellationError
template <typename Operation>
[[nodiscard]] auto raceAgainstTimer(std::chrono::nanoseconds budget, const std::stop_token& caller,
                                    Operation operation) {
    using Returned = std::invoke_result_t<Operation&, std::stop_token>;
    using Result = std::conditional_t<std::is_void_v<Returned>, std::monostate, Returned>;

    struct Shared {
        std::mutex mutex;
        std::condition_variable_any changed;
        bool finished = false;
        std::optional<Result> result;
        std::exception_ptr error;
        std::stop_source stop;
    };
    auto shared = std::make_shared<Shared>();

    std::thread([shared, operation = std::move(operation)]() mutable {
        std::optional<Result> result;
        std::exception_ptr error;
        try {
            if constexpr (std::is_void_v<Returned>) {
                operation(shared->stop.get_token());
                result.emplace();
            } else {
                result.emplace(operation(shared->stop.get_token()));
            }
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard lock(shared->mutex);
        shared->result = std::move(result);
        shared->error = std::move(error);
        shared->finished = true;
        shared->changed.notify_all();
    }).detach();

    std::unique_lock lock(shared->mutex);
    const bool finished = shared->changed.wait_for(lock, caller, budget, [&] { return shared->finished; });
    if (!finished) {
        lock.unlock();
        shared->stop.request_stop();
        if (caller.stop_requested()) {
            throw CancellationError();
        }
        return std::optional<Result>();
    }
    if (shared->error) {
        std::rethrow_exception(std::move(shared->error)); // which so ends on the caller's thread
    }
    return std::move(shared->result);
}

} // namespace tavrin
