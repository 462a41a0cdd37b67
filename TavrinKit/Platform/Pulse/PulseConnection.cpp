#include "TavrinKit/Platform/Pulse/PulseConnection.h"

#include <new>
#include <utility>

#include "TavrinKit/Platform/Pulse/PulseError.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {

PulseConnection::PulseConnection(const std::string& server, std::stop_token stop)
    : stop_(std::move(stop)), loop_(pa_mainloop_new()) {
    if (!loop_) {
        throw std::bad_alloc();
    }
    context_.reset(pa_context_new(pa_mainloop_get_api(loop_.get()), "Tavrin"));
    if (!context_) {
        throw std::bad_alloc();
    }
    if (pa_context_connect(context_.get(), server.empty() ? nullptr : server.c_str(), PA_CONTEXT_NOAUTOSPAWN,
                           nullptr) < 0) {
        throw PulseError::serverUnavailable(lastReason());
    }
    runUntil([this] {
        const pa_context_state_t state = pa_context_get_state(context_.get());
        return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
    });
    if (pa_context_get_state(context_.get()) != PA_CONTEXT_READY) {
        throw PulseError::serverUnavailable(lastReason());
    }
}

PulseConnection::~PulseConnection() {
    if (context_) {
        pa_context_disconnect(context_.get());
    }
}

void PulseConnection::finish(pa_operation* operation, const std::string& request) {
    const std::unique_ptr<pa_operation, Release> owned(operation);
    if (!owned) {
        throw PulseError::requestFailed(request, lastReason());
    }
    // An operation whose server went away is cancelled, not left running.
    runUntil([&] { return pa_operation_get_state(owned.get()) != PA_OPERATION_RUNNING; });
    if (pa_operation_get_state(owned.get()) != PA_OPERATION_DONE) {
        throw PulseError::requestFailed(request, lastReason());
    }
}

void PulseConnection::runUntil(const std::function<bool()>& condition) {
    const std::stop_callback wake(stop_, [this] { pa_mainloop_wakeup(loop_.get()); });
    while (!condition()) {
        throwIfCancelled(stop_);
        if (pa_mainloop_iterate(loop_.get(), 1, nullptr) < 0) {
            throw PulseError::requestFailed("waiting for an answer", lastReason());
        }
    }
}

std::string PulseConnection::lastReason() const {
    return pa_strerror(pa_context_errno(context_.get()));
}

} // namespace tavrin
