#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include <pulse/pulseaudio.h>

namespace tavrin {

/// A conversation with a Pulse server on the thread that calls; every wait of it ends at a stop request.
class PulseConnection {
public:
    /// Returns once the server has let us in.
    /// @param server  empty: the one that the user's environment names
    /// @throws PulseError, CancellationError
    PulseConnection(const std::string& server, std::stop_token stop);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    [[nodiscard]] pa_context* context() const { return context_.get(); }

    /// Waits until the operation, which becomes ours, is done.
    /// @param request  for the error, as in "listing the microphones"
    /// @throws PulseError, CancellationError
    void finish(pa_operation* operation, const std::string& request);

private:
    struct Release {
        void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
        void operator()(pa_context* context) const { pa_context_unref(context); }
        void operator()(pa_operation* operation) const { pa_operation_unref(operation); }
    };

    /// Lets the loop run until the condition holds.
    void runUntil(const std::function<bool()>& condition);
    [[nodiscard]] std::string lastReason() const;

    const std::stop_token stop_;
    std::unique_ptr<pa_mainloop, Release> loop_;
    std::unique_ptr<pa_context, Release> context_;
};

} // namespace tavrin
