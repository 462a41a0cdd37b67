#include "TavrinKit/Platform/X11/X11WatchThread.h"

#include <exception>
#include <utility>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {

X11WatchThread::X11WatchThread(const X11Connection& connection, std::string logName,
                               std::function<void(const StopSignal&)> watch)
    : connection_(connection), logName_(std::move(logName)), watch_(std::move(watch)),
      thread_([this] { run(); }) {}

X11WatchThread::~X11WatchThread() {
    stopSignal_.request();
    connection_.hangUp();
    thread_.join();
}

void X11WatchThread::run() const {
    try {
        watch_(stopSignal_);
    } catch (...) {
        if (!stopSignal_.isRequested()) {
            logRecoverableFailure(logName_, "watch", std::current_exception());
        }
    }
}

} // namespace tavrin
