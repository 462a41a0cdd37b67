#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "TavrinKit/Capture/LiveInputEventMonitoring.h"

namespace tavrin {

/// Watches mouse and keyboard of an X server, whichever window the events go to and whoever has grabbed them.
///
/// Listens to raw XInput 2 events on a connection and a thread of its own, on which the handler is called.
/// The place of an event is that of the pointer when it arrived here. Buttons are counted after the user's
/// mapping; the wheel gives no click. Texts follow the layout in use, dead keys included. A held key repeats
/// as the server says that it does; raw events don't tell of that. Should the server hang up, the watch ends
/// with a line in the log.
class X11LiveInputEventMonitor : public LiveInputEventMonitoring {
public:
    struct Settings {
        std::string displayName; ///< as in ":0"; empty: what DISPLAY says
        /// Moves that follow each other more quickly are told as one, so that a mouse that reports a thousand
        /// times a second doesn't fill the timeline. A click or a key doesn't wait, and no last move is lost.
        std::chrono::microseconds minimumMoveInterval{4000};
    };

    X11LiveInputEventMonitor();
    explicit X11LiveInputEventMonitor(Settings settings);
    ~X11LiveInputEventMonitor() override; ///< as `stop`
    X11LiveInputEventMonitor(const X11LiveInputEventMonitor&) = delete;
    X11LiveInputEventMonitor& operator=(const X11LiveInputEventMonitor&) = delete;

    /// Events that happen after the return are seen. A monitor that runs is stopped first.
    /// @throws X11Error
    void start(Handler handler) override;
    void stop() override;

private:
    class Watch;

    const Settings settings_;
    std::unique_ptr<Watch> watch_;
};

} // namespace tavrin
