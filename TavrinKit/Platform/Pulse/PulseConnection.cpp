#include "TavrinKit/Platform/Pulse/PulseConnection.h"

#include <chrono>
#include <new>
#include <utility>

#include "TavrinKit/Platform/Pulse/PulseError.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {

namespace {

constexpr const char* silence = "it does not answer";

pa_mainloop* makeLoop() {
    pa_mainloop* loop = pa_mainloop_new();
    if (loop == nullptr) {
        throw std::bad_alloc();
    }
    return loop;
}

} // namespace

PulseConnection::PulseConnection(const std::string& server, std::stop_token stop, Patience patience)
    : stop_(std::move(stop)), loop_(makeLoop()), wake_(stop_, Wake{loop_.get()}) {
    context_.reset(pa_context_new(pa_mainloop_get_api(loop_.get()), "Tavrin"));
    if (!context_) {
        throw std::bad_alloc();
    }
    if (pa_context_connect(context_.get(), server.empty() ? nullptr : server.c_str(), PA_CONTEXT_NOAUTOSPAWN,
                           nullptr) < 0) {
        throw PulseError::serverUnavailable(lastReason());
    }
    const bool hasAnswered = runUntil(
        [this] {
            const pa_context_state_t state = pa_context_get_state(context_.get());
            return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
        },
        patience);
    if (!hasAnswered) {
        throw PulseError::serverUnavailable(silence);
    }
    if (pa_context_get_state(context_.get()) != PA_CONTEXT_READY) {
        throw PulseError::serverUnavailable(lastReason());
    }
}

PulseConnection::~PulseConnection() {
    if (context_) {
        pa_context_disconnect(context_.get());
    }
}

void PulseConnection::finish(pa_operation* operation, const std::string& request, Patience patience) {
    const std::unique_ptr<pa_operation, Release> owned(operation);
    if (!owned) {
        throw PulseError::requestFailed(request, lastReason());
    }
    // An operation whose server went away is cancelled, not left running.
    const auto isOver = [&] {
        return pa_operation_get_state(owned.get()) != PA_OPERATION_RUNNING;
    };
    if (!runUntil(isOver, patience)) {
        throw PulseError::requestFailed(request, silence);
    }
    if (pa_operation_get_state(owned.get()) != PA_OPERATION_DONE) {
        throw PulseError::requestFailed(request, lastReason());
    }
}

bool PulseConnection::runUntil(const std::function<bool()>& condition, Patience patience) {
    const auto start = std::chrono::steady_clock::now();
    while (!condition()) {
        throwIfCancelled(stop_);
        if (!patience) {
            iterate(-1);
            continue;
        }
        const std::chrono::duration<double> left = *patience - (std::chrono::steady_clock::now() - start);
        if (left.count() <= 0) {
            return false;
        }
        iterate(int(std::chrono::ceil<std::chrono::milliseconds>(left).count()));
    }
    return true;
}

void PulseConnection::runFor(std::chrono::milliseconds duration) {
    iterate(int(duration.count()));
    while (pa_mainloop_iterate(loop_.get(), 0, nullptr) > 0) {
    }
    if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(context_.get()))) {
        throw PulseError::requestFailed("recording", lastReason());
    }
}

/// @param milliseconds  to wait for something to do at most; below 0: for ever
void PulseConnection::iterate(int milliseconds) {
    const int timeout = milliseconds < 0 ? -1 : milliseconds * 1000;
    if (pa_mainloop_prepare(loop_.get(), timeout) < 0 || pa_mainloop_poll(loop_.get()) < 0 ||
        pa_mainloop_dispatch(loop_.get()) < 0) {
        throw PulseError::requestFailed("waiting for an answer", lastReason());
    }
}

std::string PulseConnection::lastReason() const {
    return pa_strerror(pa_context_errno(context_.get()));
}

} // namespace tavrin
