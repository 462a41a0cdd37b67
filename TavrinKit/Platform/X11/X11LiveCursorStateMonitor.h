#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "TavrinKit/Capture/LiveCursorStateMonitoring.h"

namespace tavrin {

/// Samples what the pointer of an X server looks like and where it is.
///
/// Looks at a fixed pace, on a connection and a thread of its own, on which the handler is called: once at
/// the start, then when the looks or the place have changed. An image is encoded when it is first seen; which
/// one is shown the server tells by itself, so that a look costs one question. An image without a visible
/// pixel counts as a hidden pointer. Should the server hang up, the watch ends with a line in the log.
class X11LiveCursorStateMonitor : public LiveCursorStateMonitoring {
public:
    struct Settings {
        std::string displayName; ///< as in ":0"; empty: what DISPLAY says
        std::chrono::nanoseconds pollInterval{100'000'000};
    };

    X11LiveCursorStateMonitor();
    explicit X11LiveCursorStateMonitor(Settings settings);
    ~X11LiveCursorStateMonitor() override; ///< as `stop`
    X11LiveCursorStateMonitor(const X11LiveCursorStateMonitor&) = delete;
    X11LiveCursorStateMonitor& operator=(const X11LiveCursorStateMonitor&) = delete;

    /// A monitor that runs is stopped first.
    /// @throws X11Error
    void start(Handler handler) override;
    void stop() override;

private:
    class Watch;

    const Settings settings_;
    std::unique_ptr<Watch> watch_;
};

} // namespace tavrin
