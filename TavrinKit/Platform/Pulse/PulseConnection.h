#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include <pulse/pulseaudio.h>

namespace tavrin {

/// A conversation with a Pulse server on the thread that calls; every wait of it ends at a stop request.
class PulseConnection {
public:
    /// Seconds that the server is given for an answer; absent: no bound.
    using Patience = std::optional<std::chrono::duration<double>>;

    /// Returns once the server has let us in.
    /// @param server  empty: the one that the user's environment names
    /// @throws PulseError, CancellationError
    PulseConnection(const std::string& server, std::stop_token stop, Patience patience = {});
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    [[nodiscard]] pa_context* context() const { return context_.get(); }

    /// Waits until the operation, which becomes ours, is done.
    /// @param request  for the error, as in "listing the microphones"
    /// @throws PulseError, CancellationError
    void finish(pa_operation* operation, const std::string& request, Patience patience = {});

    /// Lets the loop run until the condition holds.
    /// @return false when the patience ran out
    /// @throws PulseError when the loop fails, CancellationError
    bool runUntil(const std::function<bool()>& condition, Patience patience = {});

    /// Handles what the server sends in the next moment, and calls back. Returns early when there was
    /// something or at a stop request, which it heeds in no other way.
    /// @throws PulseError when the server has gone
    void runFor(std::chrono::milliseconds duration);

    /// In the server's words, of the last failure.
    [[nodiscard]] std::string lastReason() const;

private:
    struct Release {
        void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
        void operator()(pa_context* context) const { pa_context_unref(context); }
        /// An operation that nobody waits for any more calls nobody back.
        void operator()(pa_operation* operation) const {
            pa_operation_cancel(operation);
            pa_operation_unref(operation);
        }
    };

    struct Wake {
        pa_mainloop* loop;
        void operator()() const { pa_mainloop_wakeup(loop); }
    };

    void iterate(int milliseconds);

    const std::stop_token stop_;
    std::unique_ptr<pa_mainloop, Release> loop_;
    std::unique_ptr<pa_context, Release> context_;
    const std::stop_callback<Wake> wake_; ///< goes before the loop
};

} // namespace tavrin
