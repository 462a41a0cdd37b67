#pragma once

#include <functional>
#include <string>
#include <thread>

#include "TavrinKit/Platform/X11/StopSignal.h"

namespace tavrin {

class X11Connection;

/// The thread of somebody who watches an X server until the object goes.
///
/// Should the watch fail, the server hang up for example, it ends with a line in the log. The destructor
/// waits for the thread, but for no server: it hangs up. Who owns the object lets it go before what the
/// watch uses.
class X11WatchThread {
public:
    /// @param connection  the one that is watched; outlives the object, and is broken afterwards
    /// @param logName     as in "TavrinKit.X11LiveInputEventMonitor"
    /// @param watch       is called on the thread, and returns when a stop is requested
    X11WatchThread(const X11Connection& connection, std::string logName,
                   std::function<void(const StopSignal&)> watch);
    ~X11WatchThread();
    X11WatchThread(const X11WatchThread&) = delete;
    X11WatchThread& operator=(const X11WatchThread&) = delete;

private:
    void run() const;

    const X11Connection& connection_;
    const std::string logName_;
    const std::function<void(const StopSignal&)> watch_;
    StopSignal stopSignal_;
    std::thread thread_; ///< uses all above
};

} // namespace tavrin
